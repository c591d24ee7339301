# zelvane_borrow_headers(TARGET FOLDER): an imported target for a library that is headers alone, as the building machine
# has them. Copied, because /usr/include as a whole would bring that machine's C library with them.
function(zelvane_borrow_headers target folder)
  if(TARGET ${target})
    return()
  endif()
  set(borrowed ${PROJECT_BINARY_DIR}/borrowed/${folder})
  file(COPY /usr/include/${folder} DESTINATION ${borrowed})
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${borrowed})
endfunction()
