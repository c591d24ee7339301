#pragma once

#include <cstdint>

/// What the host asks of every module, under these plain names.
///
///     std::int32_t  kzrxEntryPoint(std::int32_t message, void* packet);
///     std::uint32_t kzrxGetApiVersion();
namespace KzRx {

enum Message : std::int32_t {
    loadMessage = 1,
    unloadMessage = 2,
};

enum EntryResult : std::int32_t {
    done = 0,
    loadFailed = 3,
};

/// The version of this interface. The host loads modules that answer with this number only.
inline constexpr std::uint32_t apiVersion = 0x130000;

using EntryPoint = std::int32_t (*)(std::int32_t message, void* packet);
using ApiVersionQuery = std::uint32_t (*)();

} // namespace KzRx
