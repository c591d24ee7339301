// All histories of a few edits: whatever was edited, held open, closed, watched and updated in whichever
// order, an update finds what a graph finds that reads everything at every update.
//
//   update_histories [LENGTH]   all histories of up to so many steps (2), two steps fewer from rare
//   beginnings

#include "headless/edits.h"
#include "headless/inspection.h"
#include "headless/session.h"
#include "host/module_interface.h"
#include "tests/support/graph_checks.h"
#include "zelvane/zelvane.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>

extern "C" std::int32_t kzrxEntryPoint(std::int32_t message, void* packet) noexcept;

using namespace Headless;

namespace {

void client() {}

void eraseOrBack(KzDbObjectId object) {
    static_cast<void>(erase(object, !object.isErased()));
}
void holdOrLetGo(KzDbObjectId object) {
    if (!releaseHold(object)) static_cast<void>(holdOpen(object));
}
KzDbObjectId first(KzDbObjectId block) {
    const std::vector<KzDbObjectId> live = references(block);
    if (!live.empty()) return live.front();
    const std::vector<KzDbObjectId> erased = references(block, true);
    return erased.empty() ? KzDbObjectId() : erased.front();
}
KzDbObjectId newest(KzDbObjectId block) {
    const std::vector<KzDbObjectId> live = references(block);
    return live.empty() ? KzDbObjectId() : live.back();
}

/// A drawing with a plain block, an enhanced block with a representation, and an attached drawing.
struct Drawing {
    KzApDocument* const main = openDocument(u"main");
    KzApDocument* const other = openDocument(u"other");
    const KzDbObjectId space = modelSpace(main);
    const KzDbObjectId watched = makeBlock(main, u"W");
    const KzDbObjectId plain = makeBlock(main, u"A");
    const KzDbObjectId early = makeBlock(main, u"*E");
    const KzDbObjectId enhanced = makeBlock(main, u"D");
    const KzDbObjectId second = makeBlock(main, u"D2");
    const KzDbObjectId representation = makeBlock(main, u"*R");
    const KzDbObjectId unseen = makeBlock(main, u"N");
    const KzDbObjectId foreign = makeBlock(other, u"X");
    const KzDbObjectId room = makeBlock(other, u"Y");
    KzDbObjectId container = enhanced; ///< where plain blocks are inserted
    KzDbObjectId attachment;
    KzDbObjectId dependent;
    std::optional<PlainGraph> plainGraph;
    std::string difference;
    int made = 0;

    Drawing() {
        makeCurrent(main);
        for (const KzDbObjectId block : {watched, plain, plain, early})
            insert(space, block, {{u"TAG", u"1"}});
        for (const KzDbObjectId block : {enhanced, second}) enhance(block);
        for (const KzDbObjectId block : {modelSpace(other), room}) insert(block, foreign);
        attachment = attach(main, other, u"SITE").id;
        dependent = find(main, u"SITE|X");
        insert(space, dependent);
        eraseOrBack(unseen);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing() {
        plainGraph.reset();
        if (isOpen(other)) closeDocument(other);
        closeDocument(main);
    }

    void watchOrNot() {
        KzDbObjectIdArray ids;
        ids.append(plain);
        if (plainGraph && graphOf(main).isEnabled()) {
            kzdxBlockReferenceMonitorDetach(main, &client);
        } else {
            kzdxBlockReferenceMonitorAttach(main, &ids, &client);
        }
        if (plainGraph) {
            plainGraph->followSwitch();
        } else {
            plainGraph.emplace(main);
        }
    }
    void update(bool force) {
        if (difference.empty()) difference = plainGraph->updateBoth(force, objects());
    }
    /// An edit of an attribute, which is always registered with, and the update after it.
    void finish() {
        setAttribute(first(watched), u"TAG", u"2");
        update(false);
    }
    KzDbObjectId newBlock() {
        return makeBlock(main, u"N" + std::u16string(1, static_cast<char16_t>(u'A' + made++)));
    }

private:
    [[nodiscard]] std::vector<KzDbObjectId> objects() const {
        std::vector<KzDbObjectId> all;
        for (std::uint64_t id = space.value() - 1; id < space.value() + 60; ++id) all.emplace_back(id);
        return all;
    }
};

struct Step {
    const char* name;
    void (*take)(Drawing&);
};

constexpr std::array steps{
    Step{"insert A", [](Drawing& d) { insert(d.space, d.plain); }},
    Step{"insert A elsewhere", [](Drawing& d) { insert(d.container, d.plain); }},
    Step{"insert *R", [](Drawing& d) { insert(d.space, d.representation); }},
    Step{"move A", [](Drawing& d) { move(newest(d.plain), d.enhanced); }},
    Step{"erase A's reference or back", [](Drawing& d) { eraseOrBack(first(d.plain)); }},
    Step{"erase *R's reference or back", [](Drawing& d) { eraseOrBack(first(d.representation)); }},
    Step{"edit A's attribute", [](Drawing& d) { setAttribute(first(d.plain), u"TAG", u"2"); }},
    Step{"goodbye of A's reference", [](Drawing& d) { goodbye(newest(d.plain)); }},
    Step{"hold A's reference or let go", [](Drawing& d) { holdOrLetGo(first(d.plain)); }},
    Step{"hold *R's reference or let go", [](Drawing& d) { holdOrLetGo(first(d.representation)); }},
    Step{"hold A or let go", [](Drawing& d) { holdOrLetGo(d.plain); }},
    Step{"hold *R or let go", [](Drawing& d) { holdOrLetGo(d.representation); }},
    Step{"erase A or back", [](Drawing& d) { eraseOrBack(d.plain); }},
    Step{"erase *R or back", [](Drawing& d) { eraseOrBack(d.representation); }},
    Step{"erase D or back", [](Drawing& d) { eraseOrBack(d.enhanced); }},
    Step{"unerase N, or erase it after an update",
         [](Drawing& d) {
             // What is inserted in a record that comes and goes between two updates cannot be noticed.
             if (!d.unseen.isErased()) d.finish();
             eraseOrBack(d.unseen);
         }},
    Step{"insert A in N", [](Drawing& d) { insert(d.unseen, d.plain); }},
    Step{"*E represents D", [](Drawing& d) { represent(d.enhanced, d.early); }},
    Step{"new representation of D", [](Drawing& d) { insert(d.space, represent(d.enhanced).id); }},
    Step{"new block in a new block",
         [](Drawing& d) {
             const KzDbObjectId inner = d.newBlock();
             const KzDbObjectId outer = d.newBlock();
             insert(outer, inner);
             insert(d.plain, outer);
         }},
    Step{"insert A in a new block, and erase that",
         [](Drawing& d) {
             const KzDbObjectId block = d.newBlock();
             insert(block, d.plain);
             eraseOrBack(block);
         }},
    Step{"move the newest block in A away",
         [](Drawing& d) {
             for (const KzDbObjectId block : records(d.main)) {
                 if (ownerOf(newest(block)) == d.plain) move(newest(block), d.space);
             }
         }},
    Step{"insert X in the other drawing", [](Drawing& d) { insert(modelSpace(d.other), d.foreign); }},
    Step{"close the other drawing", [](Drawing& d) { closeDocument(d.other); }},
    Step{"erase its model space or back", [](Drawing& d) { eraseOrBack(modelSpace(d.other)); }},
    Step{"Y becomes its model space",
         [](Drawing& d) {
             rename(modelSpace(d.other), u"Old");
             rename(d.room, u"*Model_Space");
         }},
    Step{"hold SITE or let go", [](Drawing& d) { holdOrLetGo(d.attachment); }},
    Step{"erase SITE or back", [](Drawing& d) { eraseOrBack(d.attachment); }},
    Step{"insert SITE|X", [](Drawing& d) { insert(d.space, d.dependent); }},
    Step{"update", [](Drawing& d) { d.update(false); }},
    Step{"update by force", [](Drawing& d) { d.update(true); }},
    Step{"watch or not", [](Drawing& d) { d.watchOrNot(); }},
};

/// What is done before and after the watching begins.
struct Beginning {
    const char* name = nullptr;
    void (*before)(Drawing&) = nullptr;
    void (*after)(Drawing&) = [](Drawing&) {};
};

void representOnce(Drawing& d) {
    represent(d.enhanced, d.representation);
    insert(d.space, d.representation, {{u"TAG", u"1"}});
}

constexpr std::array beginnings{
    Beginning{"ordinary", representOnce},
    Beginning{"SITE attached twice",
              [](Drawing& d) {
                  representOnce(d);
                  attach(d.main, d.other, u"ALSO");
              }},
    Beginning{"*E and SITE|X represent D",
              [](Drawing& d) {
                  representOnce(d);
                  for (const KzDbObjectId record : {d.early, d.dependent}) represent(d.enhanced, record);
              }},
    Beginning{"SITE|X represents a block that comes after it",
              [](Drawing& d) {
                  const KzDbObjectId later = d.newBlock();
                  enhance(later);
                  represent(later, d.dependent);
              }},
    Beginning{"SITE represents D", [](Drawing& d) { represent(d.enhanced, d.attachment); }},
    Beginning{"*E represents D2, which represents D",
              [](Drawing& d) {
                  represent(d.enhanced, d.second);
                  represent(d.second, d.early);
              }},
    Beginning{"*R represents D later", [](Drawing&) {},
              [](Drawing& d) { represent(d.enhanced, d.representation); }},
    Beginning{"D held when watching begins",
              [](Drawing& d) {
                  representOnce(d);
                  holdOrLetGo(d.enhanced);
              },
              [](Drawing& d) { holdOrLetGo(d.enhanced); }},
    Beginning{"D erased when watching begins",
              [](Drawing& d) {
                  representOnce(d);
                  eraseOrBack(d.enhanced);
              }},
    Beginning{"a representation comes later", representOnce,
              [](Drawing& d) {
                  d.container = represent(d.enhanced).id;
                  insert(d.space, d.container);
              }},
};

std::string differenceAfter(const Beginning& beginning, const std::vector<std::size_t>& history) {
    Drawing drawing;
    beginning.before(drawing);
    drawing.watchOrNot();
    beginning.after(drawing);
    drawing.finish();
    for (const std::size_t step : history) steps[step].take(drawing);
    drawing.finish();
    return drawing.difference;
}

/// The next list of the same length; false after the last one.
bool advance(std::vector<std::size_t>& history) {
    for (std::size_t& step : history) {
        if (++step < steps.size()) return true;
        step = 0;
    }
    return false;
}

/// The history that is tried, for messages; also for that of an update check, which ends the process.
const Beginning* currentBeginning = nullptr;
std::vector<std::size_t> currentSteps;

void printHistory() {
    if (currentBeginning == nullptr) return;
    std::fprintf(stderr, "beginning: %s\n", currentBeginning->name);
    for (const std::size_t step : currentSteps) std::fprintf(stderr, "then: %s\n", steps[step].name);
}

/// Tries all histories of a length from a beginning. Returns how many; 0 if one fails, which is printed.
std::size_t tryAll(const Beginning& beginning, std::size_t length) {
    currentBeginning = &beginning;
    currentSteps.assign(length, 0);
    std::size_t count = 0;
    do {
        const std::string difference = differenceAfter(beginning, currentSteps);
        ++count;
        if (difference.empty()) continue;
        std::fprintf(stderr, "%s\n", difference.c_str());
        printHistory();
        return 0;
    } while (advance(currentSteps));
    return count;
}

} // namespace

int main(int argc, char** argv) {
    const std::size_t longest = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 2;
    if (kzrxEntryPoint(KzRx::loadMessage, nullptr) != KzRx::done) return 2;
    std::signal(SIGABRT, [](int) { printHistory(); });
    std::size_t count = 0;
    for (std::size_t length = 0; length <= longest; ++length) {
        for (const Beginning& beginning : beginnings) {
            if (&beginning != beginnings.data() && length > 2 && length == longest) continue;
            const std::size_t tried = tryAll(beginning, length);
            if (tried == 0) return 1;
            count += tried;
        }
    }
    std::printf("%zu histories of up to %zu steps: no difference\n", count, longest);
    return kzrxEntryPoint(KzRx::unloadMessage, nullptr);
}
