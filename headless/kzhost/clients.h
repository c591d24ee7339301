#pragma once

#include "headless/kzhost/call.h"

#include <cstddef>

namespace KzHost {

/// A client callback: a plain function of no arguments and no result.
using ClientFunction = void (*)();

/// How many clients can be alive at a time.
inline constexpr std::size_t mostClients = 1024;

/// Enters `host.client` into the table on top of the stack.
void enterClientFunction(lua_State* state);

/// The client function of a value; null for nil.
[[nodiscard]] ClientFunction clientFunction(const Call& call, int index);

/// Keeps a client alive until `releaseClients` of that module: the module may call it for as long as it is
/// loaded.
void keepClient(lua_State* state, int index, lua_Integer module);
void releaseClients(lua_State* state, lua_Integer module);

} // namespace KzHost
