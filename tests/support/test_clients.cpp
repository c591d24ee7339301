#include "tests/support/test_clients.h"

#include "zelvane/trampolines.h"

#include <algorithm>

namespace {

TestClients* current = nullptr;

void called(std::size_t trampoline);

/// In ascending order of address.
const auto& callbacks() {
    static const auto sorted = [] {
        auto callbacks = Zelvane::trampolines<called, TestClients::count>();
        std::ranges::sort(callbacks, std::less<>());
        return callbacks;
    }();
    return sorted;
}

void called(std::size_t trampoline) {
    static constexpr auto unsorted = Zelvane::trampolines<called, TestClients::count>();
    const auto number =
        static_cast<std::size_t>(std::ranges::find(callbacks(), unsorted[trampoline]) - callbacks().begin());
    current->calls.push_back(static_cast<int>(number));
    if (current->onCall[number]) current->onCall[number]();
}

} // namespace

TestClients::TestClients() {
    current = this;
}
TestClients::~TestClients() {
    current = nullptr;
}

KzDxClientCallback TestClients::client(std::size_t number) {
    return callbacks().at(number);
}
