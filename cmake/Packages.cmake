# What find_package(Zelvane) and pkg-config find in an installed tree. Both look for the rest from where they
# stand, so that the tree can be moved.
include(CMakePackageConfigHelpers)

# A folder of its own, because "host" is too common a name for the top of an include path.
set(ZELVANE_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/zelvane-${PROJECT_VERSION_MAJOR})
set(ZELVANE_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/Zelvane)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZelvaneConfig.cmake.in ZelvaneConfig.cmake
  INSTALL_DESTINATION ${ZELVANE_PACKAGE} PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(ZelvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion ARCH_INDEPENDENT)
install(EXPORT ZelvaneTargets NAMESPACE Zelvane:: DESTINATION ${ZELVANE_PACKAGE})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZelvaneConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ZelvaneConfigVersion.cmake DESTINATION ${ZELVANE_PACKAGE})

file(RELATIVE_PATH from_pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" from_pc_to_prefix ${from_pc_to_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zelvane.pc.in zelvane.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zelvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
