# The model of messages, the scanner and the diagnostics. scan_allocations.cpp replaces operator new.
hark_test(cpsip_scan_test
  SOURCES scan_fixture.cpp scan_allocations.cpp
          cpapp_test.cpp osa_test.cpp tables_test.cpp msg_test.cpp
          eol_test.cpp token_test.cpp scan_test.cpp scan_start_line_test.cpp scan_header_test.cpp
          scan_word_test.cpp scan_name_addr_test.cpp scan_list_test.cpp scan_via_test.cpp scan_body_test.cpp
          scan_limits_test.cpp scan_worst_test.cpp
  USES hark_cpsip hark_cpsdp hark_cpapp hark_base)
