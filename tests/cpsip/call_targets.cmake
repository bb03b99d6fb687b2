# Whole calls through the stack, against a plain socket: what once went wrong in them, and the bounds of what datagrams
# can make the stack keep.
hark_test(cpsip_call_test
          SOURCES call_fixture.cpp call_flood_test.cpp call_refusal_test.cpp call_answer_test.cpp call_request_test.cpp
                  call_route_test.cpp call_limits_test.cpp call_lookup_test.cpp call_service_test.cpp
          USES hark_cpsip_stack hark_cpsip hark_cpsdp hark_cpapp hark_base)
