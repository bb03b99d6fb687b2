# Compiler settings of the whole project, and the two ways to add something to it.

option(HARK_TESTS "build the unit and system tests" ON)
option(HARK_BENCH "build the benchmarks" OFF)
option(HARK_FUZZ "build the fuzz targets (clang)" OFF)
option(HARK_WERROR "treat warnings as errors" ON)
set(HARK_SANITIZE "" CACHE STRING "sanitizers, as -fsanitize takes them")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wold-style-cast -Wnon-virtual-dtor)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # gcc 12 sees overlapping copies in std::string's operator+ where there are none (gcc bug 105651).
  add_compile_options(-Wno-restrict)
endif()
add_compile_definitions(_FILE_OFFSET_BITS=64)
if(HARK_WERROR)
  add_compile_options(-Werror)
endif()
if(HARK_SANITIZE)
  add_compile_options(-fsanitize=${HARK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${HARK_SANITIZE})
endif()

# hark_library(name SOURCES a.cpp ... USES other ...)
# One per folder. Includes are written from the project's root ("routing/harkqnr.h"). The product throws nothing.
function(hark_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC ${ARG_USES})
  target_compile_options(${name} PRIVATE -fno-exceptions)
endfunction()

# What tests are compiled with beyond the rest. Most of the time of a build is theirs, and each is run once: they are not
# optimised, and their debug information is what a stack trace shows. What they test keeps the settings of the build.
set(HARK_TEST_OPTIONS -O0 -g1)

# hark_test(name SOURCES a_test.cpp ... USES library ...)
# A gtest program whose cases ctest knows one by one. The headers of test_headers are compiled once for all of them.
function(hark_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_options(${name} PRIVATE ${HARK_TEST_OPTIONS})
  if(HARK_TESTS)
    target_precompile_headers(${name} REUSE_FROM test_headers)
  endif()
  target_link_libraries(${name} PRIVATE ${ARG_USES} GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endfunction()
