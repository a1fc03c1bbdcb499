# The host interfaces, and the files by which `find_package(tovrintimer)` finds what is installed. With
# TOVRINTIMER_HOST_ONLY that is all: a host that is a DLL is compiled first, and the library is linked for it then. Installed
# under the same prefix later, the library completes the package.
include(CMakePackageConfigHelpers)

# What is not said to belong elsewhere. `library` is what a program needs that runs; `embedded_host` is the program tovrin.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/tovrintimer)
install(TARGETS tovrintimer_host EXPORT tovrintimerHostTargets)
install(DIRECTORY host/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/host
  FILES_MATCHING PATTERN "*.hpp")
# What a host has to define, and how it comes to Windows.
install(FILES host/host-definitions.txt docs/windows-host.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
# How it is tested, and how the library is linked for it.
file(RELATIVE_PATH conformancePath
  /${CMAKE_INSTALL_FULL_LIBDIR}/cmake/tovrintimer /${CMAKE_INSTALL_FULL_DATADIR}/tovrintimer/conformance)
install(DIRECTORY conformance/ DESTINATION ${CMAKE_INSTALL_DATADIR}/tovrintimer/conformance)
install(FILES cmake/tovrintimerLinkForHost.cmake DESTINATION ${packageDir})
if(WIN32 AND CMAKE_CROSSCOMPILING)
  install(FILES cmake/windows-x64.cmake DESTINATION ${packageDir})
endif()

install(EXPORT tovrintimerHostTargets NAMESPACE tovrintimer:: DESTINATION ${packageDir})
configure_package_config_file(cmake/tovrintimerConfig.cmake.in tovrintimerConfig.cmake
  INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(tovrintimerConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/tovrintimerConfig.cmake
  ${PROJECT_BINARY_DIR}/tovrintimerConfigVersion.cmake
  DESTINATION ${packageDir})

if(PROJECT_IS_TOP_LEVEL)
  add_custom_target(uninstall
    COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake
    COMMENT "Removing what has been installed")
endif()
