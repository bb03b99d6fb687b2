# The links to foreign devices: destinations of other routing daemons, and requests to talk on the multicast group.
hark_test(system_links_test
          SOURCES station_fixture.cpp deaf_port.cpp links_fixture.cpp links_ifb_test.cpp links_ifb_bad_device_test.cpp
                  links_ifb_many_test.cpp links_ptt_test.cpp
          USES system_support)
target_compile_definitions(system_links_test PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>")
add_dependencies(system_links_test harkd)

# The group on a network of its own, with several stations on it.
hark_test(system_links_net_test SOURCES station_fixture.cpp links_net_test.cpp USES system_net)
