# Read by cpack once for each kind of package: an archive holds one folder, a .deb begins at the root of the system.
if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
endif()
