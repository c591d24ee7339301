#pragma once

// A test of the module inside the headless host: loaded before each test, unloaded after it, and then nothing
// of it may be left in the host.

#include "headless/edits.h"
#include "headless/faults.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "host/module_interface.h"
#include "tests/support/leaks.h"
#include "tests/support/test_clients.h"
#include "zelvane/zelvane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

extern "C" std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept;

class ModuleTest : public testing::Test {
protected:
    ModuleTest() {
        Headless::reset();
        load();
    }
    ~ModuleTest() override {
        unload();
        EXPECT_EQ(leakedRegistrations(), "");
        Headless::reset();
    }

    static std::int32_t load() { return Headless::sendMessage(kzrxEntryPoint, KzRx::loadMessage); }
    static std::int32_t unload() { return Headless::sendMessage(kzrxEntryPoint, KzRx::unloadMessage); }

    /// Attaches `client` to the blocks of `ids`.
    static std::int32_t watch(KzApDocument* document, const std::vector<KzDbObjectId>& ids,
                              KzDxClientCallback client) {
        KzDbObjectIdArray array;
        for (const KzDbObjectId id : ids) array.append(id);
        return kzdxBlockReferenceMonitorAttach(document, &array, client);
    }

    TestClients clients;
};
