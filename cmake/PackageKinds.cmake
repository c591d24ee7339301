# Read by cpack for each kind of package: an archive contains one folder, a .deb starts at the root of the system.
if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
endif()
