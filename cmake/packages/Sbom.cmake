# write_sbom(NAME DESCRIPTION COMPONENT [DYNAMIC PART...] [STATIC PART...]): the bill of materials of what a component
# installs, after SPDX 2.3. A PART is a library that is linked, as NAME or NAME=VERSION; headers alone count as STATIC.
function(write_sbom name description component)
  cmake_parse_arguments(PARSE_ARGV 3 arg "" "" "DYNAMIC;STATIC")
  set(packages "")
  set(relationships "")
  foreach(way IN ITEMS DYNAMIC STATIC)
    foreach(part IN LISTS arg_${way})
      string(REGEX MATCH "^([^=]+)=?(.*)$" whole "${part}")
      set(partName ${CMAKE_MATCH_1})
      set(version "")
      if(CMAKE_MATCH_2)
        set(version "\n      \"versionInfo\": \"${CMAKE_MATCH_2}\",")
      endif()
      # Letters, digits, dots and hyphens are what an identifier is made of.
      string(REGEX REPLACE "[^A-Za-z0-9.]+" "-" id "SPDXRef-${partName}")
      string(APPEND packages ",
    {
      \"SPDXID\": \"${id}\",
      \"name\": \"${partName}\",${version}
      \"downloadLocation\": \"NOASSERTION\",
      \"filesAnalyzed\": false,
      \"licenseConcluded\": \"NOASSERTION\",
      \"licenseDeclared\": \"NOASSERTION\",
      \"copyrightText\": \"NOASSERTION\"
    }")
      string(APPEND relationships ",
    {
      \"spdxElementId\": \"SPDXRef-${name}\",
      \"relationshipType\": \"${way}_LINK\",
      \"relatedSpdxElement\": \"${id}\"
    }")
    endforeach()
  endforeach()
  string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC) # SOURCE_DATE_EPOCH, where it is set
  string(UUID uuid NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 TYPE SHA1
    NAME "${name} ${PROJECT_VERSION} ${CMAKE_SYSTEM_NAME} ${created} ${packages}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/packages/sbom.spdx.json.in ${PROJECT_BINARY_DIR}/${name}.spdx.json @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${name}.spdx.json
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${name} COMPONENT ${component})
endfunction()

set(cxxRuntime libstdc++ libgcc)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(cxxRuntime libstdc++=${CMAKE_CXX_COMPILER_VERSION} libgcc=${CMAKE_CXX_COMPILER_VERSION})
endif()
set(systemRuntime winpthreads)
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(systemRuntime glibc)
  execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE version ERROR_QUIET)
  if(version MATCHES "^glibc ([0-9.]+)")
    set(systemRuntime glibc=${CMAKE_MATCH_1})
  endif()
endif()

write_sbom(tovrintimer "the timer engine" library
  DYNAMIC Boost=${Boost_VERSION_STRING} ${cxxRuntime} ${systemRuntime})

if(TOVRINTIMER_BUILD_EMBEDDED_HOST)
  find_package(PkgConfig REQUIRED)
  find_package(CLI11 REQUIRED)
  find_package(nlohmann_json REQUIRED)
  set(linked DYNAMIC tovrintimer=${PROJECT_VERSION} Lua=${LUA_VERSION} Boost=${Boost_VERSION_STRING} ${cxxRuntime} ${systemRuntime})
  set(linkedIn STATIC CLI11=${CLI11_VERSION} nlohmann-json=${nlohmann_json_VERSION})
  # Of these there may be an archive, which is preferred, or a shared library.
  foreach(part IN ITEMS edit/libedit bsd/libbsd md/libmd ncursesw/ncursesw tinfo/tinfo)
    string(REPLACE / ";" part ${part})
    list(POP_FRONT part library)
    if(${library}_LIBRARY)
      pkg_check_modules(SBOM_${library} QUIET ${part})
      if(${library}_LIBRARY MATCHES "[.]a$")
        list(APPEND linkedIn ${part}=${SBOM_${library}_VERSION})
      else()
        list(APPEND linked ${part}=${SBOM_${library}_VERSION})
      endif()
    endif()
  endforeach()
  write_sbom(tovrin "the program tovrin and its host library" embedded_host ${linked} ${linkedIn})
endif()
