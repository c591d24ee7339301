#pragma once

// Clients that do anything in their callbacks, in a host where anything happens.

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// Something that may happen at any time, whatever the values are. Four bytes stand for one action.
struct RandomAction {
    std::uint8_t kind = 0;
    std::uint8_t a = 0;
    std::uint8_t b = 0;
    std::uint8_t c = 0;
};

/// What has been done in all runs of the process.
struct RandomFigures {
    std::size_t actions = 0;     ///< tried, those from inside callbacks included
    std::size_t inCallbacks = 0; ///< actions from inside callbacks
    std::size_t callbacks = 0;   ///< made by the module
};
inline RandomFigures randomFigures;

/// Runs the actions in a new host. Returns what is wrong; empty if nothing is: only clients of open documents
/// were called, and after its unloading the module has left nothing in the host.
[[nodiscard]] std::string runRandomClients(std::span<const RandomAction> actions);
