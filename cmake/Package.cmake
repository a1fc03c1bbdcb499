# What `cmake --install` puts in place: the library, the headers that a host includes, the package files by which
# `find_package(tovrintimer)` finds them, and an example.
include(CMakePackageConfigHelpers)

# What is not said to belong elsewhere: `cmake --install --component library` leaves out the embedded host.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME library)

install(TARGETS tovrintimer tovrintimer_host EXPORT tovrintimerTargets)
install(DIRECTORY host/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/host
  FILES_MATCHING PATTERN "*.hpp")
install(FILES
  timer_src/main/Concurrency.hpp
  timer_src/main/DueTime.hpp
  timer_src/main/Export.hpp
  timer_src/main/OnceFlag.hpp
  timer_src/main/PrevCallBackStatus.hpp
  timer_src/main/TimerInfo.hpp
  timer_src/main/TimerObserver.hpp
  timer_src/main/TimerScheduler.hpp
  timer_src/main/WorkItem.hpp
  timer_src/main/WorkKind.hpp
  timer_src/main/WorkQueue.hpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/timer_src/main)
install(FILES
  timer_src/main/platform/ConditionVariable.hpp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/timer_src/main/platform)
if(TARGET tovrintimer_testing)
  install(TARGETS tovrintimer_testing EXPORT tovrintimerTargets)
  install(DIRECTORY virtual_time/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/virtual_time
    FILES_MATCHING PATTERN "*.hpp" PATTERN VirtualThread.hpp EXCLUDE PATTERN platform EXCLUDE)
endif()
# For those who write a host of their own: what it has to define, and the smallest one that there is.
install(FILES host/host-definitions.txt DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY tests/external_host/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/host)
if(TOVRINTIMER_BUILD_EMBEDDED_HOST)
  # The installed program finds the libraries beside it, wherever that is.
  file(RELATIVE_PATH libraryPath /${CMAKE_INSTALL_FULL_BINDIR} /${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(tovrin PROPERTIES INSTALL_RPATH "$ORIGIN/${libraryPath}")
  set_target_properties(tovrinhost PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS tovrinhost tovrin COMPONENT embedded_host)
  if(TARGET tovrin-virtual)
    # Where the program looks for it: beside itself, or there.
    install(TARGETS tovrin-virtual RUNTIME DESTINATION libexec/tovrin COMPONENT embedded_host)
  endif()
endif()

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/tovrintimer)
install(EXPORT tovrintimerTargets NAMESPACE tovrintimer:: DESTINATION ${packageDir})
configure_package_config_file(cmake/tovrintimerConfig.cmake.in tovrintimerConfig.cmake
  INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(tovrintimerConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/tovrintimerConfig.cmake
  ${PROJECT_BINARY_DIR}/tovrintimerConfigVersion.cmake
  DESTINATION ${packageDir})
