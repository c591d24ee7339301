# Removes the files of the last `cmake --install`, and the folders named for Zelvane that are empty then.
#   cmake -D MANIFEST=.../install_manifest.txt -P Uninstall.cmake
if(NOT EXISTS ${MANIFEST})
  message(FATAL_ERROR "${MANIFEST}: not found (nothing was installed from this build folder)")
endif()
file(STRINGS ${MANIFEST} files)

function(remove_if_empty folder)
  file(GLOB left ${folder}/*)
  if(IS_DIRECTORY ${folder} AND NOT left AND folder MATCHES "/[Zz]elvane")
    file(REMOVE_RECURSE ${folder})
    cmake_path(GET folder PARENT_PATH parent)
    remove_if_empty(${parent})
  endif()
endfunction()

foreach(file IN LISTS files)
  set(file $ENV{DESTDIR}${file})
  file(REMOVE ${file})
  cmake_path(GET file PARENT_PATH folder)
  remove_if_empty(${folder})
endforeach()
file(REMOVE ${MANIFEST})
