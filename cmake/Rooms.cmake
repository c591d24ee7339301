# A folder ("room") is included by its name: #include "host/ids.h". A target sees the rooms that it is given and
# no other, because each room stands alone in a folder of links. So the module cannot include the headless host.

# zelvane_room(TARGET VISIBILITY FOLDER...): shows the source folders to TARGET.
function(zelvane_room target visibility)
  foreach(folder IN LISTS ARGN)
    set(room ${CMAKE_BINARY_DIR}/rooms/${folder})
    file(MAKE_DIRECTORY ${room})
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/${folder} ${room}/${folder} SYMBOLIC)
    target_include_directories(${target} ${visibility} $<BUILD_INTERFACE:${room}>)
  endforeach()
endfunction()
