# For builds that are not CMake's. A file says where it is found what it describes: the prefix may be moved. On Windows, names of
# libraries and options of the linker are others, and CMake knows them.
if(WIN32)
  return()
endif()
file(RELATIVE_PATH prefixFromHere ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
set(pcNames tovrintimer)
if(TARGET tovrintimer_c)
  list(APPEND pcNames tovrintimer_c)
endif()
foreach(name IN LISTS pcNames)
  configure_file(cmake/packages/${name}.pc.in ${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()
