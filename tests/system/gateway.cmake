# The browser panel gateway: a real one for a real station, and browsers by frames that the tests make themselves.
hark_test(system_gateway_test
          SOURCES station_fixture.cpp panel_fixture.cpp gateway_fixture.cpp support/ws_client.cpp
                  gateway_crowd_test.cpp gateway_frames_test.cpp gateway_http_test.cpp gateway_options_test.cpp
                  gateway_released_test.cpp gateway_station_test.cpp gateway_use_test.cpp
          USES system_net)
target_link_libraries(system_gateway_test PRIVATE nlohmann_json::nlohmann_json)
target_compile_definitions(system_gateway_test PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>"
                                                       HARKPANEL_BINARY="$<TARGET_FILE:harkpanel>")
add_dependencies(system_gateway_test harkd harkpanel)
