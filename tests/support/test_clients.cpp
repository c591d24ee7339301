#include "tests/support/test_clients.h"

#include <algorithm>

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

template <std::size_t number>
void callback() {
    called(&callback<number>);
}

template <std::size_t... numbers>
std::array<KzDxClientCallback, sizeof...(numbers)> sortedCallbacks(std::index_sequence<numbers...>) {
    std::array<KzDxClientCallback, sizeof...(numbers)> callbacks{&callback<numbers>...};
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
