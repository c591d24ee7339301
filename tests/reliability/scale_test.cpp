// Guards drawings of a size that users do have: a million references fit into 2 GiB with everything around
// them, and neither deep nor cyclic nesting exhausts the stack.

#include "blocks/update_check.h"
#include "tests/support/figures.h"
#include "tests/support/graph_checks.h"
#include "tests/support/module_test.h"

#include <sys/resource.h>

namespace {

/// Scope guard: leaves the stack next to no room to grow.
class ShortStack {
public:
    ShortStack() {
        getrlimit(RLIMIT_STACK, &before_);
        rlimit limit = before_;
        limit.rlim_cur = rlim_t{512} * 1024;
        setrlimit(RLIMIT_STACK, &limit);
    }
    ~ShortStack() { setrlimit(RLIMIT_STACK, &before_); }
    ShortStack(const ShortStack&) = delete;
    ShortStack& operator=(const ShortStack&) = delete;

private:
    rlimit before_{};
};

class Scale : public ModuleTest {
protected:
    std::vector<KzDbObjectId> makeBlocks(std::size_t count) {
        std::vector<KzDbObjectId> blocks;
        for (std::size_t at = 0; at < count; ++at) {
            const std::string number = std::to_string(at);
            blocks.push_back(Headless::makeBlock(document, std::u16string(number.begin(), number.end())));
        }
        return blocks;
    }

    const KzDxUpdateCheck::Pause pause{}; ///< it would read a million references again and again
    KzApDocument* document = Headless::openDocument(u"document");
    KzDbObjectId modelSpace = Headless::modelSpace(document);
};

TEST_F(Scale, AMillionReferences) {
    constexpr std::size_t references = 1'000'000;
    const std::vector<KzDbObjectId> blocks = makeBlocks(1000);
    for (std::size_t at = 0; at < references; ++at) {
        std::vector<Headless::AttributeText> texts;
        if (at % 10 == 0) texts.push_back({u"TAG", u"text"});
        const KzDbObjectId place = at % 2 == 0 ? modelSpace : blocks[(at + 1) % 999];
        Headless::insert(place, blocks[999 - at % 1000 / 2], texts);
    }
    ASSERT_EQ(watch(document, {blocks[999]}, TestClients::client(0)), 1);
    ASSERT_TRUE(Headless::touch(Headless::references(blocks[999]).back()));
    ASSERT_TRUE(Headless::insert(modelSpace, blocks[0]));
    Headless::idle();
    EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0));
    EXPECT_EQ(graphOf(document).countReferencesIn(blocks[0], modelSpace, false), 1U);
    EXPECT_GT(Headless::reactorCountOf(document), references);
    kzdxBlockReferenceMonitorDetach(document, TestClients::client(0));
    EXPECT_EQ(Headless::reactorCountOf(document), 0U);
    Headless::closeDocument(document);

    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    EXPECT_LT(usage.ru_maxrss, 2L * 1024 * 1024) << "in kilobytes";
    printFigure("megabytes at the most", static_cast<std::size_t>(usage.ru_maxrss / 1024));
}

TEST_F(Scale, ChainAndCycleOfBlocks) {
    constexpr std::size_t depth = 100'000;
    const std::vector<KzDbObjectId> blocks = makeBlocks(depth);
    for (std::size_t at = 1; at < depth; ++at) Headless::insert(blocks[at], blocks[at - 1]);
    const KzDbObjectId outermost = Headless::insert(modelSpace, blocks.back());
    const ShortStack shortStack;
    ASSERT_EQ(watch(document, {blocks.front()}, TestClients::client(0)), 1);
    for (const bool isCycle : {false, true}) {
        if (isCycle) Headless::insert(blocks.front(), blocks.back());
        ASSERT_TRUE(Headless::touch(outermost));
        Headless::idle();
        EXPECT_THAT(clients.takeCalls(), testing::ElementsAre(0)) << "through every block in between";
        KzDxIdSet nested;
        EXPECT_EQ(graphOf(document).getNestedBlocks(modelSpace, true, nested), Orvo::ok);
        EXPECT_EQ(nested.size(), depth);
        EXPECT_EQ(graphOf(document).countReferencesInLayouts(blocks.front(), false, true), 0U);
    }
    Headless::closeDocument(document);
}

} // namespace
