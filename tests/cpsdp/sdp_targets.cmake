hark_test(cpsdp_test
  SOURCES sdp_fixture.cpp sdp_record_test.cpp parse_session_test.cpp parse_order_test.cpp parse_lines_test.cpp
          parse_media_test.cpp parse_reasons_test.cpp parse_limits_test.cpp encode_test.cpp encode_media_test.cpp
          encode_room_test.cpp negotiate_test.cpp negotiate_formats_test.cpp negotiate_events_test.cpp
          negotiate_attributes_test.cpp negotiate_limits_test.cpp negotiate_random_test.cpp
  USES hark_cpsdp hark_cpapp hark_base)
