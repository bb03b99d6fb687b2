# The targets of the SIP stack's messages and of session descriptions.
add_library(fuzz_sip STATIC support/sip_message.cpp support/sip_checks.cpp)
target_link_libraries(fuzz_sip PUBLIC fuzz_support hark_cpsip)
add_library(fuzz_sdp STATIC support/sip_sdp.cpp)
target_link_libraries(fuzz_sdp PUBLIC fuzz_support hark_cpsdp)

hark_fuzz(sipdatagram USES fuzz_sip fuzz_sdp SOURCES support/sip_roundtrip.cpp)
hark_fuzz(sipheader USES fuzz_sip)
hark_fuzz(sipuri USES hark_cpsip)
hark_fuzz(sipaddress USES hark_cpsip)
hark_fuzz(msgaccess USES fuzz_sip SOURCES support/sip_model.cpp)
hark_fuzz(sdpparse USES fuzz_sdp)
hark_fuzz(sdpencode USES fuzz_sdp)
hark_fuzz(sdpnegotiate USES fuzz_sdp)
hark_fuzz(sdppayload USES fuzz_sdp)

# What runs: the stack with sockets in memory, in whose place the linker puts the system's calls.
add_library(fuzz_sip_world STATIC support/sip_kernel.cpp support/sip_description.cpp support/sip_far_end.cpp
                                  support/sip_records.cpp support/sip_world.cpp support/sip_world_end.cpp)
target_link_libraries(fuzz_sip_world PUBLIC fuzz_sip fuzz_sdp hark_sipua hark_cpsip_stack)
target_link_options(fuzz_sip_world PUBLIC
                    -Wl,--wrap=select,--wrap=socket,--wrap=setsockopt,--wrap=bind,--wrap=connect,--wrap=close
                    -Wl,--wrap=recvfrom,--wrap=sendto,--wrap=getsockname,--wrap=fcntl64)
hark_fuzz(sipcaller USES fuzz_sip_world)
hark_fuzz(sipcallee USES fuzz_sip_world)
hark_fuzz(siptransaction USES fuzz_sip_world)
hark_fuzz(sipofferanswer USES fuzz_sip_world)
hark_fuzz(sipstackua USES fuzz_sip_world)
