# What `cmake --install` puts in place: the host interfaces and the library with the headers that a host includes, the
# embedded host, and what tells of them.
include(cmake/HostPackage.cmake)

if(TARGET tovrintimer)
  install(TARGETS tovrintimer EXPORT tovrintimerTargets
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development)
endif()
if(TARGET tovrintimer_engine)
  install(TARGETS tovrintimer_engine EXPORT tovrintimerTargets)
endif()
set(libraryHeaders
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
  timer_src/main/platform/ConditionVariable.hpp)
foreach(header IN LISTS libraryHeaders)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/${folder})
endforeach()
if(TARGET tovrintimer_testing)
  install(TARGETS tovrintimer_testing EXPORT tovrintimerTargets)
  install(DIRECTORY virtual_time/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tovrintimer/virtual_time
    FILES_MATCHING PATTERN "*.hpp" PATTERN VirtualThread.hpp EXCLUDE PATTERN platform EXCLUDE)
endif()
# For those who write a host of their own: the smallest one that there is.
install(DIRECTORY tests/external_host/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/host)
install(DIRECTORY examples/hosts DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples PATTERN __pycache__ EXCLUDE)
install(EXPORT tovrintimerTargets NAMESPACE tovrintimer:: DESTINATION ${packageDir})

if(TOVRINTIMER_BUILD_EMBEDDED_HOST)
  # The installed program finds the libraries beside it, wherever that is.
  file(RELATIVE_PATH libraryPath /${CMAKE_INSTALL_FULL_BINDIR} /${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(tovrin PROPERTIES INSTALL_RPATH "$ORIGIN/${libraryPath}")
  set_target_properties(tovrinhost PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS tovrinhost tovrin
    RUNTIME COMPONENT embedded_host
    LIBRARY COMPONENT embedded_host NAMELINK_SKIP)
  if(TARGET tovrin-virtual)
    # Where the program looks for it: there, or beside itself, since Windows looks for DLLs there.
    install(TARGETS tovrin-virtual COMPONENT embedded_host
      RUNTIME DESTINATION $<IF:$<PLATFORM_ID:Windows>,${CMAKE_INSTALL_BINDIR},libexec/tovrin>)
  endif()
  install(FILES docs/language.md DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/tovrin COMPONENT embedded_host)
  install(DIRECTORY examples/ DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/tovrin/examples COMPONENT embedded_host
    FILES_MATCHING PATTERN "*.lua" PATTERN hosts EXCLUDE)
endif()

if(WIN32)
  set(TOVRINTIMER_DLL_FOLDER "" CACHE PATH "Holds the DLLs that are to be installed beside those of this project")
  if(TOVRINTIMER_DLL_FOLDER)
    install(DIRECTORY ${TOVRINTIMER_DLL_FOLDER}/ DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
      FILES_MATCHING PATTERN "*.dll")
  endif()
endif()

install(FILES cmake/packages/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT library)
include(cmake/packages/PkgConfig.cmake)
include(cmake/packages/Sbom.cmake)
include(cmake/packages/Notices.cmake)
include(cmake/packages/Abi.cmake)
if(PROJECT_IS_TOP_LEVEL)
  include(cmake/packages/CPack.cmake)
endif()
