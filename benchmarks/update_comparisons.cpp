#include "benchmarks/comparisons.h"
#include "benchmarks/drawings.h"
#include "benchmarks/host_calls.h"
#include "blocks/block_graph.h"
#include "frame/application.h"
#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"
#include "zelvane/zelvane.h"

#include <malloc.h>

#include <string>

namespace Bench {

namespace {

void enable(KzDxBlocks& graph) {
    require(graph.setEnabled(true) == Orvo::ok, "the graph is switched on");
}

/// A graph that nobody else keeps.
class OwnGraph {
public:
    explicit OwnGraph(KzDxDocument& record) {
        require(KzDxBlocks::create(graph_, &record) == Orvo::ok, "the graph is built");
    }
    OwnGraph(const OwnGraph&) = delete;
    OwnGraph& operator=(const OwnGraph&) = delete;
    ~OwnGraph() { KzDxDeferredDeletion::begin(graph_); }

    KzDxBlocks* operator->() const { return graph_; }

private:
    KzDxBlocks* graph_ = nullptr;
};

class UpdateOverFloor : public TimedComparison {
public:
    explicit UpdateOverFloor(std::size_t references) : drawing_(references) { enable(drawing_.graph()); }

protected:
    double ours() override {
        return secondsOf([this] { drawing_.graph().update(true, false); });
    }
    double other() override {
        return secondsOf([this] { floor_.run(); });
    }

private:
    StandardDrawing drawing_;
    BareReading floor_{drawing_.drawing(), drawing_.graph()};
};

class BuildOverFloor : public TimedComparison {
public:
    explicit BuildOverFloor(std::size_t references) : drawing_(references) {}

protected:
    double ours() override {
        KzDxBlocks* graph = nullptr;
        const double seconds = secondsOf([&] { KzDxBlocks::create(graph, &drawing_.data()); });
        require(graph != nullptr, "the graph is built");
        if (graph != nullptr) KzDxDeferredDeletion::begin(graph);
        return seconds;
    }
    double other() override {
        return secondsOf([this] { floor_.run(); });
    }

private:
    StandardDrawing drawing_;
    BareReading floor_{drawing_.drawing(), drawing_.graph()};
};

class EnableOverFloor : public TimedComparison {
public:
    explicit EnableOverFloor(std::size_t references) : drawing_(references) {}

protected:
    double ours() override {
        KzDxBlocks& graph = drawing_.graph();
        const double seconds = secondsOf([&] { graph.setEnabled(true); });
        require(graph.isEnabled(), "the graph is switched on");
        graph.setEnabled(false);
        return seconds;
    }
    double other() override {
        const double seconds = secondsOf([this] { floor_.run(); });
        floor_.undo();
        return seconds;
    }

private:
    StandardDrawing drawing_;
    BareRegistering floor_{drawing_.drawing(), drawing_.graph()};
};

/// One insert, and the idle check that works it off.
class EditOverFloor : public TimedComparison {
public:
    explicit EditOverFloor(std::size_t references) : drawing_(references) {
        KzDbObjectIdArray watched;
        for (const KzDbObjectId block : drawing_.blocks()) watched.append(block);
        require(kzdxBlockReferenceMonitorAttach(drawing_.get(), &watched, countCall) == 1,
                "the client is attached");
    }

protected:
    double ours() override {
        const KzDbObjectId block = drawing_.blocks()[inserted_++ % drawing_.blocks().size()];
        const unsigned callsBefore = calls;
        const double seconds = secondsOf([&] {
            Headless::insert(drawing_.modelSpace(), block);
            Headless::idle();
        });
        require(calls == callsBefore + 1, "the client is called once for an edit");
        return seconds;
    }
    double other() override {
        floor_.refresh();
        return secondsOf([this] { floor_.run(); });
    }

private:
    static void countCall() { ++calls; }
    static inline unsigned calls = 0;

    StandardDrawing drawing_;
    BareListing floor_{drawing_.graph()};
    std::size_t inserted_ = 0;
};

/// A standard drawing whose graph is switched on, and of which attributes are edited.
class AttributeEdits {
public:
    explicit AttributeEdits(std::size_t references) : drawing_(references) {
        require(drawing_.graph().startFollowing() == Orvo::ok, "the graph follows the drawing");
    }

    /// One attribute edit of a reference of `block`, and the idle check that works it off.
    double seconds() {
        const KzDbObjectId reference = Headless::references(block()).front();
        Headless::makeCurrent(drawing_.get());
        return secondsOf([&] {
            Headless::setAttribute(reference, u"NUMBER", u"2");
            Headless::idle();
        });
    }
    /// One of those whose first reference has an attribute; in large drawings one in which nothing lies, so
    /// that nothing else is changed by it.
    [[nodiscard]] KzDbObjectId block() const {
        const auto& blocks = drawing_.blocks();
        return blocks[blocks.size() < 10 ? 0 : blocks.size() - 10];
    }
    [[nodiscard]] const StandardDrawing& drawing() const { return drawing_; }

private:
    StandardDrawing drawing_;
};

class AttributeOverTouched : public TimedComparison {
public:
    explicit AttributeOverTouched(std::size_t references) : edits_(references) {}

protected:
    double ours() override { return edits_.seconds(); }
    double other() override {
        return secondsOf([this] { floor_.readBlock(edits_.block()); });
    }

private:
    AttributeEdits edits_;
    BareReading floor_{edits_.drawing().drawing(), edits_.drawing().graph()};
};

class AttributeFlat : public TimedComparison {
public:
    explicit AttributeFlat(std::size_t references) : large_(references), small_(smallSizeFor(references)) {}

protected:
    double ours() override { return large_.seconds(); }
    double other() override { return small_.seconds(); }

private:
    AttributeEdits large_;
    AttributeEdits small_;
};

/// The first attach of a client to a document.
class AttachOverFloor : public TimedComparison {
public:
    explicit AttachOverFloor(std::size_t references) : drawing_(references) {}

protected:
    double ours() override {
        forgetGraph();
        KzDbObjectIdArray watched;
        watched.append(drawing_.modelSpace());
        const double seconds = secondsOf([&] {
            require(kzdxBlockReferenceMonitorAttach(drawing_.get(), &watched, [] {}) == 1,
                    "the client is attached");
        });
        forgetGraph();
        return seconds;
    }
    double other() override {
        const double seconds = secondsOf([this] { floor_.run(); });
        floor_.undo();
        return seconds;
    }

private:
    void forgetGraph() { KzDxApplication::instance()->removeDocData(drawing_.get()); }

    StandardDrawing drawing_;
    BareRegistering floor_{drawing_.drawing(), drawing_.graph(), true};
};

double updateTime(const OpenDocument& document) {
    return secondsOf([&] { document.graph().update(true, false); });
}

class UpdatePerReference : public TimedComparison {
public:
    explicit UpdatePerReference(std::size_t references)
        : large_(references), small_(smallSizeFor(references)) {
        enable(large_.graph());
        enable(small_.graph());
    }

protected:
    double ours() override { return updateTime(large_) / static_cast<double>(large_.references()); }
    double other() override { return updateTime(small_) / static_cast<double>(small_.references()); }
    [[nodiscard]] double unitsOfWork() const override { return static_cast<double>(large_.references()); }

private:
    StandardDrawing large_;
    StandardDrawing small_;
};

constexpr std::size_t attachedDrawings = 10;

std::u16string letter(std::size_t number) {
    return {static_cast<char16_t>(u'a' + number)};
}

/// Updates of a drawing to which ten others are attached, and of one that holds what the ten hold.
class AttachedOverOwn : public TimedComparison {
public:
    explicit AttachedOverOwn(std::size_t references) {
        const std::size_t each = references / attachedDrawings;
        for (std::size_t at = 0; at < attachedDrawings; ++at) {
            addStandardDrawing(attached_[at].get(), each);
            addStandardDrawing(own_.get(), each, letter(at));
            require(static_cast<bool>(Headless::attach(host_.get(), attached_[at].get(), letter(at))),
                    "the drawing is attached");
        }
        enable(host_.graph());
        enable(own_.graph());
    }

protected:
    double ours() override { return updateTime(host_); }
    double other() override { return updateTime(own_); }

private:
    OpenDocument attached_[attachedDrawings];
    OpenDocument host_;
    OpenDocument own_;
};

class EnhancedOverPlain : public TimedComparison {
public:
    explicit EnhancedOverPlain(std::size_t references) {
        constexpr std::size_t referencesPerRepresentation = 100;
        addPlainAndEnhancedBlock(plain_, enhanced_, references, references / referencesPerRepresentation);
        enable(enhanced_.graph());
        enable(plain_.graph());
    }

protected:
    double ours() override { return updateTime(enhanced_); }
    double other() override { return updateTime(plain_); }

private:
    OpenDocument enhanced_;
    OpenDocument plain_;
};

/// Everything that the process has allocated, with the allocator's own share.
double allocatedBytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks) + static_cast<double>(info.hblkhd);
}

/// What a graph that is switched on keeps. The host keeps a single reactor of an object inside the object, so
/// its lists of reactors take no memory here.
class MemoryPerReference : public Comparison {
public:
    explicit MemoryPerReference(std::size_t references) : drawing_(references) {
        // What is allocated once, in the host and for the record, is there from now on.
        const OwnGraph first(drawing_.data());
        enable(*first.operator->());
    }

    Sample measure() override {
        const double before = allocatedBytes();
        double after = 0;
        const double seconds = secondsOf([&] {
            const OwnGraph graph(drawing_.data());
            enable(*graph.operator->());
            after = allocatedBytes();
        });
        return {after - before, static_cast<double>(drawing_.references()), seconds};
    }

private:
    StandardDrawing drawing_;
};

} // namespace

Made updateOverFloor(std::size_t references) {
    return std::make_unique<UpdateOverFloor>(references);
}
Made buildOverFloor(std::size_t references) {
    return std::make_unique<BuildOverFloor>(references);
}
Made enableOverFloor(std::size_t references) {
    return std::make_unique<EnableOverFloor>(references);
}
Made editOverFloor(std::size_t references) {
    return std::make_unique<EditOverFloor>(references);
}
Made attributeOverTouched(std::size_t references) {
    return std::make_unique<AttributeOverTouched>(references);
}
Made attributeFlat(std::size_t references) {
    return std::make_unique<AttributeFlat>(references);
}
Made attachOverFloor(std::size_t references) {
    return std::make_unique<AttachOverFloor>(references);
}
Made updatePerReference(std::size_t references) {
    return std::make_unique<UpdatePerReference>(references);
}
Made attachedOverOwn(std::size_t references) {
    return std::make_unique<AttachedOverOwn>(references);
}
Made enhancedOverPlain(std::size_t references) {
    return std::make_unique<EnhancedOverPlain>(references);
}
Made memoryPerReference(std::size_t references) {
    return std::make_unique<MemoryPerReference>(references);
}

} // namespace Bench
