hark_test(cpsip_message_test
          SOURCES msg_fixture.cpp field_rows.cpp access_test.cpp access_write_test.cpp access_parms_test.cpp
                  access_model_test.cpp count_test.cpp copy_test.cpp copy_msg_test.cpp copy_sdp_test.cpp
                  format_order_test.cpp format_lines_test.cpp format_refer_test.cpp format_body_test.cpp
                  format_route_test.cpp format_writers_test.cpp uri_test.cpp uri_parse_test.cpp uri_write_test.cpp
                  uri_escape_test.cpp
          USES hark_cpsip hark_cpsdp hark_cpapp)
