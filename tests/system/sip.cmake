# Calls between stations by SIP: stations at loopback addresses, far ends that the test plays, and many stations on a
# network of their own.
hark_test(system_sip_test
          SOURCES station_fixture.cpp panel_fixture.cpp sip_station.cpp sip_far_end.cpp sip_relay.cpp
                  sip_bad_input_test.cpp sip_call_test.cpp sip_far_end_test.cpp sip_lost_test.cpp sip_net_test.cpp
                  sip_panel_test.cpp
          USES system_net)
target_compile_definitions(system_sip_test PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>")
add_dependencies(system_sip_test harkd)

# These run for a minute or wait for the longest timers of a call. What costs most starts first.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/sip_times.cmake
     "set_tests_properties(SipCrowd.EightStationsCallEachOtherAtRandomAndNothingIsLeft
      SipFarEnds.WhoFallsSilentIsGivenUpInTime PROPERTIES TIMEOUT 300 COST 90)\n")
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_BINARY_DIR}/sip_times.cmake)
