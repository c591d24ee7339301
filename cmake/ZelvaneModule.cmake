# zelvane_add_module(NAME [SOURCES] SOURCE...): an extension module of the host, NAME.hmx, that may call the exports of
# Zelvane. It shows nothing but what is marked with ZELVANE_EXPORT, is compiled as C++20 or as whatever later language
# its project asks for, has no unique symbols, which would keep it in memory after it was unloaded, and fails to build
# when the host could not load or unload it.
#
# Part of what is installed: find_package(Zelvane) and add_subdirectory() bring it alike.
function(zelvane_add_module name)
  cmake_parse_arguments(PARSE_ARGV 1 module "" "" SOURCES)
  add_library(${name} MODULE ${module_UNPARSED_ARGUMENTS} ${module_SOURCES})
  # The host offers its functions when it loads the module, so nothing else is linked.
  target_link_libraries(${name} PRIVATE Zelvane::Zelvane)
  set_target_properties(${name} PROPERTIES PREFIX "" SUFFIX .hmx
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_options(${name} PRIVATE $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-gnu-unique>)
  if(CMAKE_NM AND NOT WIN32)
    add_custom_command(TARGET ${name} POST_BUILD VERBATIM COMMAND ${CMAKE_COMMAND} -D NM=${CMAKE_NM}
      -D MODULE=$<TARGET_FILE:${name}> -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/ZelvaneCheckModule.cmake)
  endif()
endfunction()
