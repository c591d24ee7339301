#pragma once

#include <cstdint>

/// @file
/// The interface of a module of the host. `ZELVANE_CLIENT_MODULE` of `zelvane/client_module.h` implements
/// it.

/// The functions that every module exports, under these plain names.
///
///     std::int32_t  kzrxEntryPoint(std::int32_t message, void* packet);
///     std::uint32_t kzrxGetApiVersion();
namespace KzRx {

/// The messages of the entry point.
enum Message : std::int32_t {
    loadMessage = 1,   ///< start
    unloadMessage = 2, ///< release everything: the library is closed next
};

/// The results of the entry point.
enum EntryResult : std::int32_t {
    done = 0,       ///< the message was processed
    loadFailed = 3, ///< the module cannot work; the host closes it again
};

/// The version of this interface. The host loads only modules that return this number.
inline constexpr std::uint32_t apiVersion = 0x130000;

/// The types of the two functions.
/// @{
using EntryPoint = std::int32_t (*)(std::int32_t message, void* packet);
using ApiVersionQuery = std::uint32_t (*)();
/// @}

} // namespace KzRx
