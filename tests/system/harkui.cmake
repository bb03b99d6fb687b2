# Panel clients of the product on a real station.
hark_test(system_harkui_test
          SOURCES station_fixture.cpp panel_fixture.cpp harkui_panel.cpp harkui_keys_test.cpp harkui_modes_test.cpp
                  harkui_reconnect_test.cpp harkui_rings_test.cpp
          USES system_support hark_panel_client)
target_compile_definitions(system_harkui_test PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>")
add_dependencies(system_harkui_test harkd)
