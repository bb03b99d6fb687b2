# The command line of a station, beside real ones.
hark_test(system_harkctl_test
          SOURCES station_fixture.cpp deaf_port.cpp sip_station.cpp harkctl_fixture.cpp harkctl_call_test.cpp
                  harkctl_change_test.cpp harkctl_completion_test.cpp harkctl_doc_test.cpp harkctl_health_test.cpp harkctl_options_test.cpp
                  harkctl_show_test.cpp harkctl_watch_test.cpp
          USES system_support nlohmann_json::nlohmann_json)
target_compile_definitions(system_harkctl_test
                           PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>" HARKCTL_BINARY="$<TARGET_FILE:harkctl>"
                                   HARKCTL_COMPLETION="${PROJECT_SOURCE_DIR}/tools/harkctl/harkctl.bash"
                                   HARK_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
add_dependencies(system_harkctl_test harkd harkctl)
