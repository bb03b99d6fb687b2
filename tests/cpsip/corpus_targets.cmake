# The corpora of messages: RFC 4475 and our own, and generated messages, scanned, formatted and scanned again.
hark_test(cpsip_corpus_test
          SOURCES torture_test.cpp torture_verdicts.cpp corpus_test.cpp corpus_rows.cpp corpus_faulty_rows.cpp corpus_files.cpp corpus_support.cpp
                  corpus_roundtrip_test.cpp message_generator.cpp
          USES hark_cpsip)
target_compile_definitions(cpsip_corpus_test PRIVATE HARK_CORPUS_DIR="${CMAKE_CURRENT_SOURCE_DIR}/corpus")
