# What every target of the project is compiled with.

# Growth steps are computed in strict double precision on every host.
add_compile_options(-ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^i.86$")
  add_compile_options(-msse2 -mfpmath=sse)
endif()

if(VEK_SANITIZERS)
  add_compile_options(-fsanitize=${VEK_SANITIZERS} -fno-omit-frame-pointer
                      -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${VEK_SANITIZERS})
endif()

# The fuzzers need their coverage counters in everything that they link.
if(VEK_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(vek_configure_target target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
                                           -Wmissing-declarations)
  if(VEK_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# For the product itself: the core and the catalog builder.
function(vek_configure_product target)
  vek_configure_target(${target})
  target_compile_options(${target} PRIVATE -Wconversion -Wsign-conversion
                                           -fno-exceptions -fno-rtti)
endfunction()
