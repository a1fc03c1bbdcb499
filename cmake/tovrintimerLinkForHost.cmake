# tovrintimer_link_for_host(LIBRARY HOST HOST_LIBRARY): a target with the timer library for the host in the shared library
# HOST_LIBRARY, which calls nothing of it. What calls both, a program or another library, links LIBRARY.
#
# On Windows that is LIBRARY.dll, linked here: a DLL says of each symbol which DLL it comes from. Elsewhere it is the
# installed library, whose needs of its host stay open until a program loads both.
function(tovrintimer_link_for_host library)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "HOST" "")
  set(usage "tovrintimer_link_for_host(${library} HOST HOST_LIBRARY)")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "${usage}: '${arg_UNPARSED_ARGUMENTS}' is none of these words")
  elseif(NOT TARGET "${arg_HOST}")
    message(FATAL_ERROR "${usage}: HOST is '${arg_HOST}', and has to be a shared library of this project")
  elseif(NOT TARGET tovrintimer::engine AND NOT TARGET tovrintimer::tovrintimer)
    message(FATAL_ERROR "${usage}: only the host interfaces are installed in ${tovrintimer_DIR}; the library is missing")
  endif()
  get_target_property(type ${arg_HOST} TYPE)
  if(NOT type STREQUAL SHARED_LIBRARY)
    message(FATAL_ERROR "${usage}: ${arg_HOST} is of type ${type}, and has to be a SHARED_LIBRARY: "
      "a program, which calls the timer library, cannot be there before it")
  endif()

  if(TARGET tovrintimer::engine)
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${library}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "// All that is in ${library} comes out of an archive.\n")
    add_library(${library} SHARED ${source})
    set_target_properties(${library} PROPERTIES PREFIX "")
    target_link_libraries(${library}
      PRIVATE $<LINK_LIBRARY:WHOLE_ARCHIVE,tovrintimer::engine>
      PUBLIC tovrintimer::host ${arg_HOST})
  else()
    add_library(${library} INTERFACE)
    target_link_libraries(${library} INTERFACE tovrintimer::tovrintimer ${arg_HOST})
  endif()
endfunction()
