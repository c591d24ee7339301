# zelvane_lua: Lua 5.4, compiled as C++ so that its errors unwind the stack of C++ code.
if(NOT WIN32)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(LUA REQUIRED IMPORTED_TARGET lua5.4-c++)
  add_library(zelvane_lua ALIAS PkgConfig::LUA)
  return()
endif()

# For Windows there is no package: Lua is built from the source that scripts/fetch_lua_source downloads.
set(ZELVANE_LUA_SOURCE ${PROJECT_SOURCE_DIR}/build/lua CACHE PATH "The source of Lua 5.4")
file(GLOB lua_sources ${ZELVANE_LUA_SOURCE}/src/*.c)
if(NOT lua_sources)
  message(FATAL_ERROR "${ZELVANE_LUA_SOURCE}: no Lua source (run scripts/fetch_lua_source ${ZELVANE_LUA_SOURCE})")
endif()
list(FILTER lua_sources EXCLUDE REGEX "/luac?\\.c$")
set_source_files_properties(${lua_sources} PROPERTIES LANGUAGE CXX)
# Lua's own lua.hpp declares the functions as extern "C".
file(CONFIGURE OUTPUT lua/lua.hpp CONTENT "#include \"lua.h\"\n#include \"lualib.h\"\n#include \"lauxlib.h\"\n")
add_library(zelvane_lua STATIC ${lua_sources})
target_include_directories(zelvane_lua SYSTEM PUBLIC ${CMAKE_CURRENT_BINARY_DIR}/lua ${ZELVANE_LUA_SOURCE}/src)
target_compile_options(zelvane_lua PRIVATE -w)
