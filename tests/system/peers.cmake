# Agents that others have written, as callers, callees and witnesses. What is not installed is skipped.
hark_test(system_peers_test
          SOURCES station_fixture.cpp peers_fixture.cpp peers_caller_test.cpp peers_callee_test.cpp peers_tools_test.cpp
          USES system_net)
target_compile_definitions(system_peers_test PRIVATE HARKD_BINARY="$<TARGET_FILE:harkd>"
                                                     PEERS_DIR="${CMAKE_CURRENT_SOURCE_DIR}/peers")
add_dependencies(system_peers_test harkd)

# A short run of scripts/soak.sh.
add_test(NAME callsoak_200_calls COMMAND callsoak $<TARGET_FILE:harkd> 200)
set_tests_properties(callsoak_200_calls PROPERTIES TIMEOUT 120)
