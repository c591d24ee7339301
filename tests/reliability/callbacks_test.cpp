// Guards that anything may be done from inside a callback: clients and the host do random things at random
// times, and the module neither touches what is gone, nor loses track of the drawing, nor leaves anything.

#include "tests/support/figures.h"
#include "tests/support/random_clients.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

TEST(Callbacks, MayDoAnything) {
    constexpr unsigned lists = 1500;
    for (unsigned seed = 0; seed < lists; ++seed) {
        std::mt19937 random(seed);
        std::uniform_int_distribution<unsigned> anyByte(0, 255);
        const auto byte = [&] { return static_cast<std::uint8_t>(anyByte(random)); };
        std::vector<RandomAction> actions(120);
        for (RandomAction& action : actions) action = {byte(), byte(), byte(), byte()};
        ASSERT_EQ(runRandomClients(actions), "") << "seed " << seed;
    }
    printFigure("actions tried", randomFigures.actions);
    printFigure("of them inside callbacks", randomFigures.inCallbacks);
    printFigure("callbacks made", randomFigures.callbacks);
}
