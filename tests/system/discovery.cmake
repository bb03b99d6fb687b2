# Stations that find each other have a program of their own: each test waits for a network.
hark_test(system_discovery_test
          SOURCES discovery_announce_test.cpp discovery_daemon_test.cpp discovery_find_test.cpp
                  discovery_load_test.cpp discovery_names_test.cpp discovery_network_test.cpp
          USES system_net)
add_dependencies(system_discovery_test harkd)

# The tests of many stations wait for many names to settle on a network, again and again. What costs most starts first.
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/discovery_times.cmake
     "set_tests_properties(ManyStations.AreAllFound ManyStations.AreFoundAgainAfterAHundredRestartsOfTheDaemon
      PROPERTIES TIMEOUT 600 COST 100)\n")
set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_BINARY_DIR}/discovery_times.cmake)
