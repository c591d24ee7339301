# The installed files and their packages: "run" contains programs and modules, "develop" the files for authors of clients.
# Paths between installed files are relative, so the tree is relocatable.
include(CMakePackageConfigHelpers)
include(ManPages)

# A separate folder, because "host" is too common a name for the top of an include path.
set(ZELVANE_HEADERS ${CMAKE_INSTALL_INCLUDEDIR}/zelvane-${PROJECT_VERSION_MAJOR})
set(ZELVANE_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/Zelvane)
set(ZELVANE_DOCS ${CMAKE_INSTALL_DATAROOTDIR}/doc/zelvane)

# ---- run
install(TARGETS kzhost kztemplate EXPORT ZelvaneTargets RUNTIME COMPONENT run)
install(TARGETS zelvane_module EXPORT ZelvaneTargets LIBRARY DESTINATION ${ZELVANE_MODULES} COMPONENT run)
install(TARGETS zelvane_resources LIBRARY DESTINATION ${ZELVANE_MODULES} COMPONENT run)
# Only kzhost links the library, so no link without a version is installed.
install(TARGETS zelvane_headless LIBRARY COMPONENT run NAMELINK_SKIP RUNTIME COMPONENT run ARCHIVE EXCLUDE_FROM_ALL)
if(WIN32)
  # The module for the CAD host. The module in the folder above is for kzhost, whose clock is set by scripts.
  install(TARGETS zelvane_shipped zelvane_resources LIBRARY DESTINATION ${ZELVANE_MODULES}/shipped COMPONENT run)
endif()
if(MINGW)
  # The host's libraries: stand-ins in the folder of kzhost, and import libraries for modules.
  install(TARGETS ${ZELVANE_HOST_LIBRARIES} EXPORT ZelvaneTargets RUNTIME COMPONENT run ARCHIVE COMPONENT develop)
  # Full paths, because with -static the linker does not find import libraries by name.
  list(TRANSFORM ZELVANE_HOST_LIBRARIES REPLACE "(.+)"
    "\${prefix}/${CMAKE_INSTALL_LIBDIR}/${CMAKE_IMPORT_LIBRARY_PREFIX}\\1${CMAKE_IMPORT_LIBRARY_SUFFIX}"
    OUTPUT_VARIABLE ZELVANE_LINK)
  list(JOIN ZELVANE_LINK " " ZELVANE_LINK)
endif()
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${ZELVANE_DOCS} COMPONENT run)
install(DIRECTORY tools/kztemplate/schemas DESTINATION ${CMAKE_INSTALL_DATADIR}/zelvane COMPONENT run)
zelvane_man_page(kzhost)
zelvane_man_page(kztemplate dump build names)

# ---- develop
install(TARGETS zelvane_public zelvane_host EXPORT ZelvaneTargets)
target_include_directories(zelvane_host INTERFACE $<INSTALL_INTERFACE:${ZELVANE_HEADERS}>)
install(DIRECTORY include/zelvane host DESTINATION ${ZELVANE_HEADERS} COMPONENT develop FILES_MATCHING PATTERN "*.h")
install(DIRECTORY docs examples DESTINATION ${ZELVANE_DOCS} COMPONENT develop
  REGEX "/(Doxyfile.*|examples/CMakeLists.txt)$" EXCLUDE)

set_target_properties(zelvane_public PROPERTIES EXPORT_NAME Zelvane)
set_target_properties(zelvane_host PROPERTIES EXPORT_NAME host)
set_target_properties(zelvane_module PROPERTIES EXPORT_NAME Module)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/ZelvaneConfig.cmake.in ZelvaneConfig.cmake
  INSTALL_DESTINATION ${ZELVANE_PACKAGE} PATH_VARS CMAKE_INSTALL_BINDIR ZELVANE_MODULES)
if(NOT WIN32) # headers are independent of the processor, import libraries are not
  set(any_processor ARCH_INDEPENDENT)
endif()
write_basic_package_version_file(ZelvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion ${any_processor})
install(EXPORT ZelvaneTargets NAMESPACE Zelvane:: DESTINATION ${ZELVANE_PACKAGE} COMPONENT develop)
install(FILES
  ${CMAKE_CURRENT_LIST_DIR}/ZelvaneModule.cmake
  ${CMAKE_CURRENT_LIST_DIR}/ZelvaneCheckModule.cmake
  ${PROJECT_BINARY_DIR}/ZelvaneConfig.cmake
  ${PROJECT_BINARY_DIR}/ZelvaneConfigVersion.cmake
  DESTINATION ${ZELVANE_PACKAGE} COMPONENT develop)

file(RELATIVE_PATH from_pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" from_pc_to_prefix ${from_pc_to_prefix})
configure_file(${CMAKE_CURRENT_LIST_DIR}/zelvane.pc.in zelvane.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zelvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT develop)

# ---- uninstall, by the manifest of the installation
add_custom_target(uninstall VERBATIM COMMAND ${CMAKE_COMMAND}
  -D MANIFEST=${CMAKE_BINARY_DIR}/install_manifest.txt -P ${CMAKE_CURRENT_LIST_DIR}/Uninstall.cmake)
