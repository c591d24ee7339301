#pragma once

#include "zelvane/zelvane.h"

#include <array>
#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

/// Client callbacks for tests: `client(0)`, `client(1)` … in ascending order of address. Each writes its
/// number into `calls` and then does what `onCall` holds for it.
class TestClients {
public:
    static constexpr std::size_t count = 8;

    TestClients();
    ~TestClients();
    TestClients(const TestClients&) = delete;
    TestClients& operator=(const TestClients&) = delete;

    [[nodiscard]] static KzDxClientCallback client(std::size_t number);

    std::vector<int> calls;
    std::array<std::function<void()>, count> onCall;

    /// The calls since the last time this was asked.
    std::vector<int> takeCalls() { return std::exchange(calls, {}); }
};
