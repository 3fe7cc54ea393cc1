include(GoogleTest OPTIONAL)

# A test program: vek_add_test(name LIBRARY vek_core SOURCES a.cpp b.cpp)
function(vek_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "LIBRARY" "SOURCES")
  add_executable(${name} ${arg_SOURCES})
  vek_configure_target(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARY} GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 120)
endfunction()
