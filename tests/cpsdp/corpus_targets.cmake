# The corpus of session descriptions, by kind of device and by reason of failure, and generated ones: parsed,
# encoded and parsed again.
hark_test(cpsdp_corpus_test
          SOURCES corpus_test.cpp corpus_rows.cpp session_lines.cpp session_generator.cpp
                  ../cpsip/corpus_files.cpp
          USES hark_cpsdp)
target_compile_definitions(cpsdp_corpus_test PRIVATE HARK_CORPUS_DIR="${PROJECT_SOURCE_DIR}/tests/cpsip/corpus")
