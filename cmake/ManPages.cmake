# Manual pages, generated from the --help texts. Without help2man there are none.
find_program(HELP2MAN help2man)
find_program(GZIP gzip)

# zelvane_man_page(TOOL [SUBCOMMAND...]): generates and installs the page of TOOL from its --help texts.
function(zelvane_man_page tool)
  if(NOT HELP2MAN OR NOT GZIP OR CMAKE_CROSSCOMPILING)
    return()
  endif()
  set(page ${PROJECT_BINARY_DIR}/man/${tool}.1.gz)
  set(make_page ${PROJECT_SOURCE_DIR}/scripts/make_man_page)
  add_custom_command(OUTPUT ${page} VERBATIM DEPENDS ${tool} ${make_page}
    COMMAND ${make_page} $<TARGET_FILE:${tool}> ${PROJECT_VERSION} ${page} ${ARGN})
  add_custom_target(zelvane_man_${tool} ALL DEPENDS ${page})
  if(TARGET zelvane_demo) # so that the build of ./demo can be installed
    add_dependencies(zelvane_demo zelvane_man_${tool})
  endif()
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT run)
endfunction()
