#pragma once

// Reactors that write down what they hear, and the start from an empty host that all tests share.

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "host/block_table.h"
#include "host/object_reactor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using Log = std::vector<std::string>;

/// Hears one object, under a name, and may do something then. Leaves its object at its own end if it can.
class Recorder final : public KzDbObjectReactor {
public:
    Recorder(Log& log, std::string name, KzDbObjectId object)
        : log_(log), name_(std::move(name)), object_(object) {
        change([this](const KzDbObject* subject) { subject->addReactor(this); });
    }
    ~Recorder() override {
        change([this](const KzDbObject* subject) { subject->removeReactor(this); });
    }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    void copied(const KzDbObject*, const KzDbObject* copy) override {
        write(copy->ownerId().isNull() ? "copied, unplaced" : "copied, placed");
    }
    void erased(const KzDbObject*, bool isErasing) override { write(isErasing ? "erased" : "unerased"); }
    void goodbye(const KzDbObject* object) override {
        write(object->objectId().isValid() ? "goodbye" : "goodbye, invalid");
    }
    void aboutToChange(const KzDbObject*) override { write("opened" + before()); }
    void modified(const KzDbObject*) override { write("modified" + before()); }
    void objectClosed(KzDbObjectId) override { write("closed"); }

    /// What is added to "opened" and "modified", to see whether the change has been made.
    std::function<std::string()> before = [] { return std::string(); };

private:
    template <class Change>
    void change(Change apply) {
        KzDbObject* subject = nullptr;
        const auto mode = KzDb::OpenMode::forNotify;
        if (kzdbOpenKzDbObject(subject, object_, mode, true) != Orvo::ok) return;
        apply(subject);
        subject->close();
    }
    void write(const std::string& what) { log_.push_back(name_ + " " + what); }

    Log& log_;
    std::string name_;
    KzDbObjectId object_;
};

class HostTest : public testing::Test {
public:
    HostTest() { Headless::reset(); }
    HostTest(const HostTest&) = delete;
    HostTest& operator=(const HostTest&) = delete;
    ~HostTest() override {
        EXPECT_THAT(Headless::usageErrors(), testing::IsEmpty());
        Headless::reset();
    }

protected:
    /// What was heard since the last time this was asked.
    Log heard() { return std::exchange(log, {}); }

    Log log;
};

/// A host with one drawing that has a block "B".
class DrawingTest : public HostTest {
protected:
    KzApDocument* document = Headless::openDocument(u"drawing");
    KzDbObjectId space = Headless::modelSpace(document);
    KzDbObjectId block = Headless::makeBlock(document, u"B");
};
