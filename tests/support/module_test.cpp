#include "tests/support/module_test.h"

#include <algorithm>
#include <utility>

namespace {

TestClients* current = nullptr;

void called(KzDxClientCallback self) {
    for (std::size_t number = 0; number < TestClients::count; ++number) {
        if (TestClients::client(number) != self) continue;
        current->calls.push_back(static_cast<int>(number));
        if (current->onCall[number]) current->onCall[number]();
        return;
    }
}

template <std::size_t N>
void callback() {
    called(&callback<N>);
}

template <std::size_t... N>
std::array<KzDxClientCallback, sizeof...(N)> sortedCallbacks(std::index_sequence<N...>) {
    std::array<KzDxClientCallback, sizeof...(N)> callbacks{&callback<N>...};
    std::ranges::sort(callbacks, std::less<>());
    return callbacks;
}

} // namespace

TestClients::TestClients() {
    current = this;
}
TestClients::~TestClients() {
    current = nullptr;
}

KzDxClientCallback TestClients::client(std::size_t number) {
    static const auto callbacks = sortedCallbacks(std::make_index_sequence<count>());
    return callbacks.at(number);
}

ModuleTest::ModuleTest() {
    Headless::reset();
    load();
}

ModuleTest::~ModuleTest() {
    unload();
    EXPECT_EQ(Headless::filterCount(), 0U);
    EXPECT_EQ(Headless::managerReactorCount(), 0U);
    EXPECT_THAT(Headless::services(), testing::IsEmpty());
    for (const KzApDocument* const document : Headless::documents()) {
        EXPECT_EQ(Headless::reactorCountOf(document), 0U);
        EXPECT_EQ(Headless::openCountOf(document), 0U);
    }
    Headless::reset();
}

std::int32_t ModuleTest::watch(KzApDocument* document, const std::vector<KzDbObjectId>& ids,
                               KzDxClientCallback client) {
    KzDbObjectIdArray array;
    for (const KzDbObjectId id : ids) array.append(id);
    return kzdxBlockReferenceMonitorAttach(document, &array, client);
}
