# The stack's way to the operating system: addresses, sockets, the pass of polling, timers. socket_calls.cpp stands
# before the system calls that the tests make fail.
hark_test(cpsip_socket_test
          SOURCES socket_fixture.cpp socket_calls.cpp socket_test.cpp socket_datagram_test.cpp socket_block_test.cpp
                  socket_select_test.cpp address_test.cpp timer_test.cpp
          USES hark_cpsip_stack hark_cpsip hark_cpapp hark_base)
target_link_options(cpsip_socket_test PRIVATE
                    -Wl,--wrap=select,--wrap=socket,--wrap=setsockopt,--wrap=bind,--wrap=connect
                    -Wl,--wrap=recvfrom,--wrap=sendto,--wrap=fcntl64)
