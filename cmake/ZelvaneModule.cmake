# zelvane_add_module(NAME [SOURCES] SOURCE...): builds NAME.hmx, an extension module of the host that may call the exports
# of Zelvane. The module exports only functions marked with ZELVANE_EXPORT. It is compiled as C++20, or a later standard if
# the project sets one, and without unique symbols, which would keep it in memory after unloading. The build fails if the
# host could not load or unload the module.
#
# Installed: available through find_package(Zelvane) and add_subdirectory().
function(zelvane_add_module name)
  cmake_parse_arguments(PARSE_ARGV 1 module "" "" SOURCES)
  add_library(${name} MODULE ${module_UNPARSED_ARGUMENTS} ${module_SOURCES})
  # The host provides its functions when it loads the module, so nothing else is linked.
  target_link_libraries(${name} PRIVATE Zelvane::Zelvane)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX .hmx
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  if(CMAKE_NM AND NOT WIN32)
    add_custom_command(TARGET ${name} POST_BUILD VERBATIM COMMAND ${CMAKE_COMMAND} -D NM=${CMAKE_NM}
      -D MODULE=$<TARGET_FILE:${name}> -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/ZelvaneCheckModule.cmake)
  endif()
endfunction()
