#pragma once

#include <cstdint>

/// @file
/// What makes a library a module of the host. `ZELVANE_CLIENT_MODULE` of `zelvane/client_module.h` does
/// all of it.

/// What the host asks of every module, under these plain names.
///
///     std::int32_t  kzrxEntryPoint(std::int32_t message, void* packet);
///     std::uint32_t kzrxGetApiVersion();
namespace KzRx {

/// What the entry point is told.
enum Message : std::int32_t {
    loadMessage = 1,   ///< begin to work
    unloadMessage = 2, ///< let go of everything: the library is closed next
};

/// What the entry point answers.
enum EntryResult : std::int32_t {
    done = 0,       ///< the message was obeyed
    loadFailed = 3, ///< the module cannot work, and is closed again
};

/// The version of this interface. The host loads modules that answer with this number only.
inline constexpr std::uint32_t apiVersion = 0x130000;

/// The two functions by their types.
/// @{
using EntryPoint = std::int32_t (*)(std::int32_t message, void* packet);
using ApiVersionQuery = std::uint32_t (*)();
/// @}

} // namespace KzRx
