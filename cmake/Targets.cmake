# A test program: vek_add_test(name LIBRARY vek_core SOURCES a.cpp b.cpp)
# LIBRARY is vek_core, lib_ctg or failing_core (tests/support/failing_malloc.h).
function(vek_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LIBRARY" "SOURCES")
  add_executable(${name} ${arg_SOURCES})
  vek_configure_target(${name})
  # g++ 12 warns of an overlap inside std::string's operator+ that is not there (GCC bug 105651).
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${name} PRIVATE -Wno-restrict)
  endif()
  target_link_libraries(${name} PRIVATE test_support ${arg_LIBRARY} GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 120)
endfunction()
