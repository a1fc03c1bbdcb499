# The licences of what is linked into the program, or travels along with it, as this system's packages tell them.
if(TOVRINTIMER_BUILD_EMBEDDED_HOST)
  set(noticesOf libcli11-dev nlohmann-json3-dev)
  if(WIN32)
    list(APPEND noticesOf libboost1.74-dev liblua5.4-dev gcc-mingw-w64-base mingw-w64-common)
  else()
    list(APPEND noticesOf libedit-dev libbsd-dev libmd-dev libncurses-dev)
  endif()
  foreach(package IN LISTS noticesOf)
    install(FILES /usr/share/doc/${package}/copyright RENAME ${package} OPTIONAL
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/tovrin/notices COMPONENT embedded_host)
  endforeach()
endif()
