# A folder ("room") is included by its name: #include "host/ids.h". A target sees the rooms that it is given and
# no other, because each room has an include folder of its own, in which a forwarding header stands for each header
# of the room. So the module cannot include the headless host.

# Makes the forwarding headers of a room, and takes away those whose header has gone. A new header is seen by the
# next build.
function(zelvane_forward_headers folder room)
  file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/${folder} ${PROJECT_SOURCE_DIR}/${folder}/*.h)
  file(GLOB_RECURSE old RELATIVE ${room}/${folder} ${room}/${folder}/*.h)
  list(REMOVE_ITEM old ${headers} "")
  foreach(header IN LISTS old)
    file(REMOVE ${room}/${folder}/${header})
  endforeach()
  foreach(header IN LISTS headers)
    set(forwarding ${room}/${folder}/${header})
    # Relative, so that the compiler cache serves every clone.
    cmake_path(GET forwarding PARENT_PATH from)
    file(RELATIVE_PATH real ${from} ${PROJECT_SOURCE_DIR}/${folder}/${header})
    file(CONFIGURE OUTPUT ${forwarding} CONTENT "#include \"${real}\"\n")
  endforeach()
endfunction()

# zelvane_room(TARGET VISIBILITY FOLDER...): shows the source folders to TARGET.
function(zelvane_room target visibility)
  foreach(folder IN LISTS ARGN)
    set(room ${PROJECT_BINARY_DIR}/forwarding/${folder})
    get_property(isMade GLOBAL PROPERTY zelvane_room_${folder})
    if(NOT isMade)
      zelvane_forward_headers(${folder} ${room})
      set_property(GLOBAL PROPERTY zelvane_room_${folder} TRUE)
    endif()
    target_include_directories(${target} ${visibility} $<BUILD_INTERFACE:${room}>)
  endforeach()
endfunction()
