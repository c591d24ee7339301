# Removes what the last `cmake --install` has installed, and those folders of our own that are empty then.
#   cmake -D MANIFEST=.../install_manifest.txt -P Uninstall.cmake
if(NOT EXISTS ${MANIFEST})
  message(FATAL_ERROR "nothing was installed from here: ${MANIFEST} is missing")
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
