# What cpack makes packages of: `script/package` calls it. A Debian package for each component, an archive of them all.
set(CPACK_PACKAGE_NAME tovrintimer)
set(CPACK_PACKAGE_VENDOR "the tovrintimer maintainers")
set(CPACK_PACKAGE_CONTACT "tovrintimer maintainers <maintainers@users.noreply.c-seed-0a5a73fb.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # else it stands before the description of each package
string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" platform)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${platform})
set(CPACK_COMPONENTS_ALL library development)
if(TOVRINTIMER_BUILD_EMBEDDED_HOST)
  list(APPEND CPACK_COMPONENTS_ALL embedded_host)
endif()
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
# Whatever the umask is.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# Of packages whose programs link one of these libraries.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/packages/debian.cmake)
set(sameVersion "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libtovrintimer${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/packages/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "timer engine, shared library
Decides when the callbacks of timer objects are due, in four modes of
execution, and hands them over to the engine of a host, the program that
loads it. All timers of a process share one thread and one queue.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libtovrintimer-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
  "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${sameVersion}, libboost-log-dev, libboost-thread-dev")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "timer engine, development files
What the author of a host needs: the headers of the library and of all that
it calls in its host, files for CMake and pkg-config, a static library that
tests a host by a clock in the test's hand, and a small host as an example.")

set(CPACK_DEBIAN_EMBEDDED_HOST_PACKAGE_NAME tovrin)
set(CPACK_DEBIAN_EMBEDDED_HOST_PACKAGE_SECTION interpreters)
set(CPACK_DEBIAN_EMBEDDED_HOST_PACKAGE_DEPENDS "${CPACK_DEBIAN_LIBRARY_PACKAGE_NAME} ${sameVersion}")
set(CPACK_DEBIAN_EMBEDDED_HOST_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_EMBEDDED_HOST_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/packages/triggers)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/timer_src ${PROJECT_BINARY_DIR}/embedded_host)
set(CPACK_COMPONENT_EMBEDDED_HOST_DESCRIPTION "Lua scripts with timers
Runs scripts whose timers call functions of theirs at their moments, in real
time or in virtual time; tells why a callback was late, and what would fire
when; tests scripts by a clock in the test's hand; has a prompt, too.")
include(CPack)
