# Run by cpack before it makes packages of what is installed: what Debian's policy wants to see in the documents of each.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # SOURCE_DATE_EPOCH, where it is set
set(release ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(documents
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  if(component STREQUAL "library")
    # So that the next version's can be installed beside it.
    cmake_path(GET documents PARENT_PATH folder)
    file(RENAME ${folder}/tovrintimer ${documents})
  endif()
  file(MAKE_DIRECTORY ${documents})
  file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/copyright ${documents}/copyright)
  file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../../CHANGELOG.md ${documents}/changelog)
  file(WRITE ${documents}/changelog.Debian "tovrintimer (${release}) unstable; urgency=medium

  * Packages of this version; changelog.gz has what is new in it.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  execute_process(COMMAND gzip -9 --no-name ${documents}/changelog ${documents}/changelog.Debian COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB manuals ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/man/man*/*.[1-9])
  if(manuals)
    execute_process(COMMAND gzip -9 --no-name ${manuals} COMMAND_ERROR_IS_FATAL ANY)
  endif()
  # Reasons stand in the file.
  set(overrides ${CMAKE_CURRENT_LIST_DIR}/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}.lintian-overrides)
  if(EXISTS ${overrides})
    set(folder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share/lintian/overrides)
    file(MAKE_DIRECTORY ${folder})
    file(COPY_FILE ${overrides} ${folder}/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  endif()
endforeach()
