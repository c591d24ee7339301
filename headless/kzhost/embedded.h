#pragma once

namespace KzHost {

// The Lua files of this folder, which CMake embeds.
extern const char* const apiLua;
extern const char* const helpLua;
extern const char* const promptLua;

} // namespace KzHost
