# The test kit for hosts, see README.md beside this file. Comes with the package: find_package(tovrintimer) includes it.

set(tovrintimer_conformance_engine EngineTest FeatureTest RequestLineTest TimerTaskTest WrappableTest)
set(tovrintimer_conformance_basics ArraysTest DiagnosticLoggerTest LogSink ProcessStoreTest Records ValuesTest)
set(tovrintimer_conformance_retraction RetractionTest)

# tovrintimer_add_conformance_program(PROGRAM HOST LIBRARY SOURCES SOURCE... [WITHOUT GROUP...]): a program of GoogleTest's
# that tests the host in the library. One of the sources is the host's adapter, which defines what HostUnderTest.hpp
# declares. Left out can be the groups `basics` and `retraction`.
function(tovrintimer_add_conformance_program program)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HOST" "SOURCES;WITHOUT")
  set(usage "tovrintimer_add_conformance_program(${program} HOST LIBRARY SOURCES SOURCE... [WITHOUT GROUP...])")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${usage}: '${arg_UNPARSED_ARGUMENTS}' is none of these words")
  elseif(NOT TARGET "${arg_HOST}")
    message(FATAL_ERROR "${usage}: HOST is '${arg_HOST}', and has to be a library of this project")
  elseif(NOT arg_SOURCES)
    message(FATAL_ERROR "${usage}: SOURCES names none, and has to name the host's adapter")
  endif()
  set(groups engine basics retraction)
  foreach(group IN LISTS arg_WITHOUT)
    if(NOT group MATCHES "^(basics|retraction)$")
      message(FATAL_ERROR "${usage}: the group '${group}' cannot be left out; basics and retraction can")
    endif()
    list(REMOVE_ITEM groups ${group})
  endforeach()

  find_package(GTest REQUIRED)
  add_executable(${program} ${arg_SOURCES})
  cmake_path(GET CMAKE_CURRENT_FUNCTION_LIST_DIR PARENT_PATH includes)
  target_include_directories(${program} PRIVATE ${includes})
  target_link_libraries(${program} PRIVATE ${arg_HOST} tovrintimer::host GTest::gmock_main)
  foreach(group IN LISTS groups)
    # Compiled once for all hosts of a project.
    set(objects tovrintimer_conformance_${group}_objects)
    if(NOT TARGET ${objects})
      set(sources ${tovrintimer_conformance_${group}})
      list(TRANSFORM sources REPLACE "(.+)" "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/\\1.cpp")
      add_library(${objects} OBJECT ${sources})
      # As one source: they read the same heavy headers.
      set_target_properties(${objects} PROPERTIES UNITY_BUILD ON)
      target_include_directories(${objects} PRIVATE ${includes})
      target_link_libraries(${objects} PRIVATE tovrintimer::host GTest::gmock)
    endif()
    target_sources(${program} PRIVATE $<TARGET_OBJECTS:${objects}>)
  endforeach()
endfunction()
