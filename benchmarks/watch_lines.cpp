// The watch of the client kit, compared with plain callbacks. Uses the released module, because a client
// finds the exports in the loaded library.

#include "benchmarks/drawings.h"
#include "benchmarks/lines.h"
#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "zelvane/block_watch.h"

#include <memory>

namespace Bench {

namespace {

/// A standard drawing, and one client of all its blocks.
class WatchedDrawing {
public:
    explicit WatchedDrawing(std::size_t references) : drawing_(references) {
        require(zelvane().isAvailable(), "the module is loaded");
    }

    void attachWatch() {
        const auto countCall = [this](const Zelvane::BlockChanges& changes) {
            ++calls_;
            affected_ = changes.affected().size();
        };
        const Zelvane::Status status = watch_.attach(drawing_.get(), drawing_.blocks(), countCall);
        require(status == Zelvane::Status::ok, "the watch is attached");
    }
    void attachCallback() {
        const KzDbObjectIdArray blocks = Zelvane::idArray(drawing_.blocks());
        require(zelvane().kzdxBlockReferenceMonitorAttach(drawing_.get(), &blocks, countPlainCall) == 1,
                "the callback is attached");
    }
    void detach() {
        watch_.detach();
        zelvane().kzdxBlockReferenceMonitorDetach(drawing_.get(), countPlainCall);
    }
    void update() { zelvane().kzdxUpdateBlockGraph(drawing_.get(), true, false); }

    /// The time of an edit and the idle check that processes it.
    double secondsToEdit(const auto& edit) {
        Headless::makeCurrent(drawing_.get());
        const unsigned callsBefore = calls_ + plainCalls;
        const double seconds = secondsOf([&] {
            edit();
            Headless::idle();
        });
        require(calls_ + plainCalls == callsBefore + 1, "the client is called once for an edit");
        return seconds;
    }
    /// An attribute edit of one of the last blocks, which contain no other.
    double secondsToSetAttribute() {
        const KzDbObjectId block = drawing_.blocks().at(drawing_.blocks().size() - 10);
        const KzDbObjectId reference = Headless::references(block).front();
        return secondsToEdit([&] { Headless::setAttribute(reference, u"NUMBER", u"2"); });
    }
    [[nodiscard]] const StandardDrawing& drawing() const { return drawing_; }
    [[nodiscard]] std::size_t affected() const { return affected_; }

private:
    static const KzDxExports& zelvane() {
        [[maybe_unused]] static const auto module = Headless::loadModule(WATCH_MODULE, WATCH_FOLDER);
        static const KzDxExports exports;
        return exports;
    }
    static void countPlainCall() { ++plainCalls; }
    static inline unsigned plainCalls = 0;

    StandardDrawing drawing_;
    unsigned calls_ = 0;
    std::size_t affected_ = 0;
    Zelvane::BlockWatch watch_;
};

Comparison attributeWithWatch(std::size_t references) {
    const auto watched = std::make_shared<WatchedDrawing>(references);
    const auto plain = std::make_shared<WatchedDrawing>(references);
    watched->attachWatch();
    plain->attachCallback();
    return {
        .measured =
            [=] {
                const double seconds = watched->secondsToSetAttribute();
                require(watched->affected() == 1 || references < tenThousand, "only that block is affected");
                return seconds;
            },
        .baseline = [=] { return plain->secondsToSetAttribute(); },
    };
}

/// An insert of a block in which many others are nested: block b is placed in block b / 2.
Comparison insertWithWatch(std::size_t references) {
    const auto watched = std::make_shared<WatchedDrawing>(references);
    watched->attachWatch();
    const KzDbObjectId block = watched->drawing().blocks().at(references >= tenThousand ? 4 : 1);
    const auto insert = [=] { Headless::insert(watched->drawing().modelSpace(), block); };
    return {
        .measured = [=] { return watched->secondsToEdit(insert); },
        .baseline = timed([=] { watched->update(); }),
    };
}

Comparison attachWatch(std::size_t references) {
    const auto watched = std::make_shared<WatchedDrawing>(references);
    watched->attachCallback(); // the module builds its graph once
    watched->detach();
    const auto secondsToAttach = [=](auto attach) {
        const double seconds = secondsOf([&] { (watched.get()->*attach)(); });
        watched->detach();
        return seconds;
    };
    return {
        .measured = [=] { return secondsToAttach(&WatchedDrawing::attachWatch); },
        .baseline = [=] { return secondsToAttach(&WatchedDrawing::attachCallback); },
    };
}

/// Bytes, instead of seconds: the memory of a watch of a drawing that is monitored already.
Comparison memoryOfWatch(std::size_t references) {
    const auto watched = std::make_shared<WatchedDrawing>(references);
    return {
        .measured =
            [=] {
                watched->attachCallback();
                const double before = allocatedBytes();
                watched->attachWatch();
                const double bytes = allocatedBytes() - before;
                watched->detach();
                return bytes / static_cast<double>(references);
            },
        .baseline = [] { return 1.0; },
    };
}

} // namespace

std::vector<Line> watchLines() {
    const std::vector<std::size_t> all{tenThousand, hundredThousand, million};
    return {
        {"watch/attribute", all, 5, attributeWithWatch, inMilliseconds("watch/attribute")},
        {"watch/insert", {million}, 2, insertWithWatch, inMilliseconds("watch/insert")},
        {"watch/attach", {million}, 3, attachWatch, inMilliseconds("watch/attach")},
        {"watch/memory", {million}, 20, memoryOfWatch, Figure{"watch/memory", "bytes", 1}},
    };
}

} // namespace Bench
