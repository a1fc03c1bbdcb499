# Boost's futures and variants, and GoogleTest's matchers, take longer to read than what uses them takes to compile.
# Each set is read once for all the targets that share it. Code for a library and code for a program are compiled
# differently, and so cannot share one.
option(TOVRINTIMER_PRECOMPILED_HEADERS "Read the heavy headers once" ON)

set(heavyHeaders <boost/log/attributes/attribute_set.hpp> <boost/log/core/record.hpp> <boost/optional.hpp>
  <boost/thread/future.hpp> <boost/variant.hpp>)

# Written only where they change, since all that uses them would be built again.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled/library.cpp CONTENT "")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled/program.cpp CONTENT "int main() { }\n")

# A target of which nothing is used but what it has read.
function(precompile_for_libraries)
  add_library(precompiled_for_libraries OBJECT ${PROJECT_BINARY_DIR}/precompiled/library.cpp)
  target_link_libraries(precompiled_for_libraries PRIVATE tovrintimer_host tovrintimer_settings)
  target_precompile_headers(precompiled_for_libraries PRIVATE ${heavyHeaders})
endfunction()

function(precompile_for_tests)
  add_executable(precompiled_for_tests ${PROJECT_BINARY_DIR}/precompiled/program.cpp)
  target_link_libraries(precompiled_for_tests PRIVATE tovrintimer_host tovrintimer_settings GTest::gmock)
  target_precompile_headers(precompiled_for_tests PRIVATE ${heavyHeaders} <gmock/gmock.h> <gtest/gtest.h>)
endfunction()

# use_precompiled(precompiled_for_... TARGET...)
function(use_precompiled from)
  if(TARGET ${from})
    foreach(target IN LISTS ARGN)
      target_precompile_headers(${target} REUSE_FROM ${from})
    endforeach()
  endif()
endfunction()
