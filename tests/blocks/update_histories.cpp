// Every history of a few edits: whatever was edited, held open, closed, watched and updated in whichever
// order, reading everything after one more update finds nothing that the update has missed.
//
//   update_histories [LENGTH]   all histories of up to so many steps (3), fewer from rare beginnings; 5 take
//                               some minutes

#include "blocks/block_graph.h"
#include "frame/application.h"
#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"
#include "host/module_interface.h"
#include "tests/support/graph_checks.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

extern "C" std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept;

using namespace Headless;

namespace {

void client() {}

/// How a history begins.
enum class Beginning {
    ordinary,
    attachedTwice,         ///< two records stand for the other drawing
    representedEarly,      ///< a record before the enhanced block and one of the other drawing represent it
    representedLater,      ///< only since the watching began, and without references so far
    recordUnheard,         ///< a record was held open when the watching began
    representationUnheard, ///< one came after that, with a reference
    longTable,             ///< with more records than are looked at in each update
};
struct Start {
    Beginning beginning;
    std::size_t stepsLess; ///< than the longest histories have
};
constexpr std::array starts{Start{Beginning::ordinary, 0},         Start{Beginning::attachedTwice, 1},
                            Start{Beginning::representedEarly, 1}, Start{Beginning::representedLater, 1},
                            Start{Beginning::recordUnheard, 1},    Start{Beginning::representationUnheard, 1},
                            Start{Beginning::longTable, 2}};

/// A drawing with a plain block, an enhanced one with a representation and an anonymous record beside them,
/// and another drawing that is attached to it; one client.
class Drawing {
public:
    explicit Drawing(Beginning beginning) : isLong_(beginning == Beginning::longTable) {
        makeCurrent(main_);
        for (const KzDbObjectId block : {heard_, plain_, plain_, lone_}) {
            insert(space_, block, {{u"TAG", u"1"}});
        }
        enhance(enhanced_);
        insert(modelSpace(other_), foreign_);
        attachment_ = attach(main_, other_, u"SITE").id;
        dependent_ = find(main_, u"SITE|X");
        insert(space_, dependent_);
        prepare(beginning);
        watch();
        prepareWatched(beginning);
        setAttribute(first(heard_), u"TAG", u"1");
        kzdxUpdateBlockGraph(main_, false, true);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing() {
        if (isOpen(other_)) closeDocument(other_);
        closeDocument(main_);
    }

    static constexpr std::size_t stepCount = 23;

    void take(std::size_t step) {
        switch (step) {
        case 0:
            return void(insert(space_, plain_));
        case 1:
            return void(insert(container_, plain_));
        case 2:
            return void(insert(space_, representation_));
        case 3:
            return void(move(newest(plain_), enhanced_));
        case 4:
            return eraseOrBack(first(plain_));
        case 5:
            return eraseOrBack(first(representation_));
        case 6:
            return void(setAttribute(first(plain_), u"TAG", u"2"));
        case 7:
            return void(goodbye(newest(plain_)));
        case 8:
            return holdOrLetGo(first(plain_));
        case 9:
            return holdOrLetGo(first(representation_));
        case 10:
            return holdOrLetGo(plain_);
        case 11:
            return eraseOrBack(plain_);
        case 12:
            return makeErasedOrBack();
        case 13:
            return void(represent(enhanced_, lone_));
        case 14:
            return void(insert(modelSpace(other_), foreign_));
        case 15:
            return void(isOpen(other_) && closeDocument(other_));
        case 16:
            return holdOrLetGo(attachment_);
        case 17:
            return void(kzdxUpdateBlockGraph(main_, false, true));
        case 18:
            return eraseOrBack(attachment_);
        case 19:
            return void(insert(space_, dependent_));
        case 20:
            return void(kzdxUpdateBlockGraph(main_, true, false));
        case 21:
            return switchOffAndOn();
        default:
            if (isWatched_) return unwatch();
            return watch();
        }
    }

    /// Whether an update misses nothing: edits an attribute that is always heard, and updates.
    [[nodiscard]] bool isNothingMissed() {
        KzDxBlocks& graph = graphOf(main_);
        setAttribute(first(heard_), u"TAG", u"2");
        return !graph.isEnabled() || isUpdateComplete(graph, false, objects());
    }

private:
    void prepare(Beginning beginning) {
        if (beginning != Beginning::representedLater) {
            represent(enhanced_, representation_);
            insert(space_, representation_, {{u"TAG", u"1"}});
        }
        if (beginning == Beginning::attachedTwice) attach(main_, other_, u"ALSO");
        if (beginning == Beginning::representedEarly) {
            for (const KzDbObjectId record : {lone_, dependent_}) represent(enhanced_, record);
        }
        if (beginning == Beginning::recordUnheard) holdOrLetGo(enhanced_);
        for (int made = 0; isLong_ && made < 260; ++made) makeNew();
    }
    void prepareWatched(Beginning beginning) {
        if (beginning == Beginning::representedLater) represent(enhanced_, representation_);
        if (beginning == Beginning::recordUnheard) holdOrLetGo(enhanced_);
        if (beginning != Beginning::representationUnheard) return;
        container_ = represent(enhanced_).id;
        insert(space_, container_);
    }
    void watch() {
        KzDbObjectIdArray ids;
        ids.append(plain_);
        isWatched_ = kzdxBlockReferenceMonitorAttach(main_, &ids, &client) == 1;
    }
    void unwatch() {
        kzdxBlockReferenceMonitorDetach(main_, &client);
        isWatched_ = false;
    }
    /// What is edited meanwhile, nobody hears.
    void switchOffAndOn() {
        KzDxBlocks& graph = graphOf(main_);
        const bool wasEnabled = graph.isEnabled();
        static_cast<void>(graph.setEnabled(false));
        move(newest(plain_), enhanced_);
        insert(space_, plain_);
        static_cast<void>(graph.setEnabled(wasEnabled));
    }
    static KzDbObjectId first(KzDbObjectId block) {
        const std::vector<KzDbObjectId> live = references(block);
        if (!live.empty()) return live.front();
        const std::vector<KzDbObjectId> erased = references(block, true);
        return erased.empty() ? KzDbObjectId() : erased.front();
    }
    static KzDbObjectId newest(KzDbObjectId block) {
        const std::vector<KzDbObjectId> live = references(block);
        return live.empty() ? KzDbObjectId() : live.back();
    }
    static void eraseOrBack(KzDbObjectId object) { static_cast<void>(erase(object, !object.isErased())); }
    static void holdOrLetGo(KzDbObjectId object) {
        if (!letGo(object)) static_cast<void>(holdOpen(object));
    }
    void makeNew() { makeBlock(main_, u"N" + std::u16string(1, static_cast<char16_t>(u'A' + made_++))); }
    /// A block that is erased before anybody has seen it, and comes back without a word. In a long table
    /// nobody looks for such blocks, so a new one comes there.
    void makeErasedOrBack() {
        if (isLong_) return makeNew();
        if (unseen_.isNull()) unseen_ = makeBlock(main_, u"N").id;
        eraseOrBack(unseen_);
    }
    [[nodiscard]] std::vector<KzDbObjectId> objects() const {
        std::vector<KzDbObjectId> all;
        const std::uint64_t end = objectsMade();
        for (std::uint64_t id = space_.value() - 1; id < end; ++id) all.emplace_back(id);
        return all;
    }
    /// The id that the next object would get.
    static std::uint64_t objectsMade() {
        KzApDocument* const probe = openDocument(u"probe");
        const std::uint64_t next = modelSpace(probe).value();
        closeDocument(probe);
        return next;
    }

    KzApDocument* main_ = openDocument(u"main");
    KzApDocument* other_ = openDocument(u"other");
    KzDbObjectId space_ = modelSpace(main_);
    KzDbObjectId heard_ = makeBlock(main_, u"H").id;
    KzDbObjectId plain_ = makeBlock(main_, u"A").id;
    KzDbObjectId lone_ = makeBlock(main_, u"*E").id;
    KzDbObjectId enhanced_ = makeBlock(main_, u"D").id;
    KzDbObjectId representation_ = makeBlock(main_, u"*R").id;
    KzDbObjectId foreign_ = makeBlock(other_, u"X").id;
    KzDbObjectId container_ = enhanced_; ///< where plain blocks are inserted
    KzDbObjectId attachment_;
    KzDbObjectId dependent_;
    KzDbObjectId unseen_;
    const bool isLong_;
    int made_ = 0;
    bool isWatched_ = false;
};

/// Tries all histories of a length; keeps the steps of the first one that fails.
class Histories {
public:
    [[nodiscard]] bool tryAll(Beginning beginning, std::size_t length) {
        beginning_ = beginning;
        steps_.assign(length, 0);
        do {
            if (!isFine()) return false;
        } while (advance());
        return true;
    }
    [[nodiscard]] std::size_t count() const { return count_; }
    void print() const {
        for (const std::size_t step : steps_) std::printf(" %zu", step);
        std::printf(" from beginning %d\n", static_cast<int>(beginning_));
    }

private:
    bool isFine() {
        Drawing drawing(beginning_);
        for (const std::size_t step : steps_) drawing.take(step);
        ++count_;
        return drawing.isNothingMissed();
    }
    bool advance() {
        for (std::size_t& step : steps_) {
            if (++step < Drawing::stepCount) return true;
            step = 0;
        }
        return false;
    }

    Beginning beginning_ = Beginning::ordinary;
    std::vector<std::size_t> steps_;
    std::size_t count_ = 0;
};

/// Whether all histories from all beginnings are fine, the shorter ones first.
bool tryAll(Histories& histories, std::size_t longest) {
    for (std::size_t length = 0; length <= longest; ++length) {
        for (const Start& start : starts) {
            if (length + start.stepsLess > longest) continue;
            if (!histories.tryAll(start.beginning, length)) return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t longest = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 3;
    if (kzrxEntryPoint(KzRx::loadMessage, nullptr) != KzRx::done) return 2;
    Histories histories;
    if (!tryAll(histories, longest)) {
        std::printf("an update misses something after the steps");
        histories.print();
        return 1;
    }
    std::printf("%zu histories of up to %zu steps: no update misses anything\n", histories.count(), longest);
    return kzrxEntryPoint(KzRx::unloadMessage, nullptr);
}
