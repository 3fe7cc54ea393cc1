include(GoogleTest OPTIONAL)

# A test program: vek_add_test(name LIBRARY vek_core SOURCES a.cpp b.cpp)
function(vek_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LIBRARY" "SOURCES")
  add_executable(${name} ${arg_SOURCES})
  vek_configure_target(${name})
  # g++ 12 warns of an overlap inside std::string's operator+ that is not there (GCC bug 105651).
  target_compile_options(${name} PRIVATE -Wno-restrict)
  target_link_libraries(${name} PRIVATE ${arg_LIBRARY} GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 120)
endfunction()

# Lets a test program make malloc and realloc fail (tests/support/failing_malloc.h).
function(vek_make_malloc_fail name)
  target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/failing_malloc.cpp)
  target_link_options(${name} PRIVATE -Wl,--wrap=malloc,--wrap=realloc)
endfunction()
