# The settings of every target of this project; none of them reaches a user of the installed package.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(tovrintimer_settings INTERFACE)
target_compile_options(tovrintimer_settings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
  $<$<BOOL:${TOVRINTIMER_WERROR}>:-Werror>)
# Where several sources are compiled as one, it takes what stands in them for included.
target_compile_options(tovrintimer_settings INTERFACE
  $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wno-subobject-linkage>)

# What is built for users tells nothing of where: the same sources give the same bytes in any folder. (Coverage needs the paths.)
target_compile_options(tovrintimer_settings INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>
  $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-ffile-prefix-map=${PROJECT_BINARY_DIR}=build>)
# Nor how long the folder's name is: room for it stays in a file where it has been put and taken out again.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Hardening, as ELF systems know it. Fortified library calls need an optimiser: the build types without one, which the
# sanitizers' presets use too, do without.
target_compile_definitions(tovrintimer_settings INTERFACE _GLIBCXX_ASSERTIONS)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  target_compile_definitions(tovrintimer_settings INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:_FORTIFY_SOURCE=2>)
  target_compile_options(tovrintimer_settings INTERFACE
    -fstack-protector-strong -fstack-clash-protection
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},x86_64>:-fcf-protection>)
  target_link_options(tovrintimer_settings INTERFACE LINKER:-z,relro,-z,now,-z,noexecstack)
  # Nobody puts functions of his own in place of a library's: its calls of itself go straight to their aims.
  target_compile_options(tovrintimer_settings INTERFACE -fno-semantic-interposition -fno-plt)
  target_link_options(tovrintimer_settings INTERFACE LINKER:-Bsymbolic-functions)
endif()

# keep_loaded(LIBRARY...): for libraries that a process never lets go of. Threads run in them, and their code may be
# at work yet when the last user closes them.
function(keep_loaded)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
    foreach(library IN LISTS ARGN)
      target_link_options(${library} PRIVATE LINKER:-z,nodelete)
    endforeach()
  endif()
endfunction()

# whole_by_itself(LIBRARY...): for libraries that need nothing of the program that loads them. What is missing shows
# as they are linked, not as they are loaded. (clang leaves the sanitizers' functions to the program.)
function(whole_by_itself)
  if(CMAKE_SYSTEM_NAME STREQUAL "Linux" AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
    foreach(library IN LISTS ARGN)
      target_link_options(${library} PRIVATE LINKER:-z,defs)
    endforeach()
  endif()
endfunction()
