#pragma once

#include "headless/kzhost/call.h"

#include <cstddef>
#include <cstdint>

namespace KzHost {

/// A client callback: a plain function of no arguments and no result.
using ClientFunction = void (*)();

/// How many clients can be alive at a time.
inline constexpr std::size_t mostClients = 1024;

/// The client function of a value; null for nil.
[[nodiscard]] ClientFunction clientFunction(const Call& call, int index);

/// What a module knows a client for: each is attached and detached by itself.
struct ClientUse {
    enum class Purpose : std::uint8_t { timer, monitor };

    lua_Integer module;
    const KzApDocument* document;
    Purpose purpose;
};

/// Keeps a client alive, because the module may call it: until it is detached from that use, the document
/// closes or the module is unloaded, whatever comes first. Nil is passed over.
void keepClient(lua_State* state, int index, const ClientUse& use);
void releaseClient(lua_State* state, int index, const ClientUse& use);
void releaseClients(lua_State* state, lua_Integer module);

} // namespace KzHost
