#pragma once

// A test of the module inside the headless host: loaded before each test, unloaded after it, and then nothing
// of it may be left in the host.

#include "headless/edits.h"
#include "headless/faults.h"
#include "headless/session.h"
#include "host/module_interface.h"
#include "zelvane/zelvane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <vector>

extern "C" std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept;

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

class ModuleTest : public testing::Test {
protected:
    ModuleTest();
    ~ModuleTest() override;

    static std::int32_t load() { return kzrxEntryPoint(KzRx::loadMessage, nullptr); }
    static std::int32_t unload() { return kzrxEntryPoint(KzRx::unloadMessage, nullptr); }

    /// Attaches `client` to the blocks of `ids`.
    static std::int32_t watch(KzApDocument* document, const std::vector<KzDbObjectId>& ids,
                              KzDxClientCallback client);

    TestClients clients;
};
