# zelvane_borrow_headers(TARGET FOLDER): an imported target for a header-only library of the build machine. The headers are
# copied, because /usr/include also contains the C library of the build machine.
function(zelvane_borrow_headers target folder)
  if(TARGET ${target})
    return()
  endif()
  set(borrowed ${PROJECT_BINARY_DIR}/borrowed/${folder})
  file(COPY /usr/include/${folder} DESTINATION ${borrowed})
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${borrowed})
endfunction()
