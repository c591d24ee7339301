// Guards that anything may be done from inside a callback: clients and the host do random things at random
// times, and the module neither touches what is gone, nor loses track of the drawing, nor leaves anything.

#include "tests/support/figures.h"
#include "tests/support/unruly_clients.h"

#include <gtest/gtest.h>

#include <random>

namespace {

std::vector<UnrulyAction> randomActions(unsigned seed, std::size_t count) {
    std::mt19937 random(seed);
    const auto byte = [&random] {
        return static_cast<std::uint8_t>(std::uniform_int_distribution<int>(0, 255)(random));
    };
    std::vector<UnrulyAction> actions(count);
    for (UnrulyAction& action : actions) action = {byte(), byte(), byte(), byte()};
    return actions;
}

TEST(Callbacks, AnythingMayBeDoneInside) {
    constexpr unsigned lists = 1500;
    for (unsigned seed = 0; seed < lists; ++seed) {
        ASSERT_EQ(UnrulyClients::run(randomActions(seed, 120)), "") << "seed " << seed;
    }
    printFigure("actions tried", UnrulyClients::figures.actions);
    printFigure("of them inside callbacks", UnrulyClients::figures.inCallbacks);
    printFigure("callbacks made", UnrulyClients::figures.callbacks);
}

} // namespace
