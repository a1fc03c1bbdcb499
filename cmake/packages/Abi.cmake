# The target `abi_descriptions`: what a program that has been compiled against a library relies on (symbols, sizes, places
# of members, virtual tables), as abidw reads it out of an unoptimised build with debug information. The standard library
# and Boost are left out of it: where a member of theirs takes another place or size, the class around it tells.
# It reads ELF files.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  return()
endif()
find_program(abidw abidw)
mark_as_advanced(abidw)
if(NOT abidw)
  return()
endif()
add_custom_target(abi_descriptions)

# describe_abi(LIBRARY HEADER-OPTION...)
function(describe_abi library)
  add_custom_command(TARGET abi_descriptions POST_BUILD
    COMMAND ${abidw} --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --exported-interfaces-only
      --drop-private-types --suppressions ${PROJECT_SOURCE_DIR}/cmake/packages/abi-suppressions.ini ${ARGN}
      --out-file ${PROJECT_BINARY_DIR}/lib${library}.abi $<TARGET_FILE:${library}>
    VERBATIM)
  add_dependencies(abi_descriptions ${library})
endfunction()

set(headerOptions "")
foreach(header IN LISTS libraryHeaders)
  list(APPEND headerOptions --header-file ${PROJECT_SOURCE_DIR}/${header})
endforeach()
describe_abi(tovrintimer --headers-dir ${PROJECT_SOURCE_DIR}/host ${headerOptions})
if(TARGET tovrintimer_c)
  describe_abi(tovrintimer_c --header-file ${PROJECT_SOURCE_DIR}/c_interface/tovrintimer.h)
endif()
