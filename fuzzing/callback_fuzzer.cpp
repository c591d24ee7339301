// Whatever clients do in their callbacks, and the host around them: the list of actions is the input, four
// bytes each (tests/support/random_clients.h). Mutations keep actions whole.
#include "tests/support/random_clients.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

using Actions = std::vector<RandomAction>;

/// A part of an action at the end is left out.
static Actions actionsIn(const std::uint8_t* data, std::size_t size) {
    Actions actions(size / sizeof(RandomAction));
    if (!actions.empty()) std::memcpy(actions.data(), data, actions.size() * sizeof(RandomAction));
    return actions;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Stays loaded: the fuzzer cannot follow libraries that come and go. Not by way of the host, which
    // counts.
    return dlopen("ZelvaneRes.dll", RTLD_NOW) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string complaint = runRandomClients(actionsIn(data, size));
    if (complaint.empty()) return 0;
    std::fprintf(stderr, "%s\n", complaint.c_str());
    std::abort();
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    std::mt19937 random(seed);
    Actions actions = actionsIn(data, size);
    const auto anyPlace = [&] {
        return actions.begin() + static_cast<std::ptrdiff_t>(random() % (actions.size() + 1));
    };
    const auto insertNew = [&](std::size_t count) {
        const auto byte = [&] { return static_cast<std::uint8_t>(random()); };
        while (count-- > 0) actions.insert(anyPlace(), RandomAction{byte(), byte(), byte(), byte()});
    };
    const auto at = anyPlace();
    if (actions.size() < 8) {
        insertNew(100);
    } else if (at == actions.end() || random() % 4 == 0) {
        insertNew(1 + random() % 8);
    } else if (random() % 3 == 0) {
        actions.erase(at);
    } else if (random() % 2 == 0) {
        actions.insert(anyPlace(), RandomAction(*at));
    } else {
        std::uint8_t* const bytes[] = {&at->kind, &at->a, &at->b, &at->c};
        *bytes[random() % std::size(bytes)] = static_cast<std::uint8_t>(random());
    }
    const std::size_t count = std::min(actions.size(), most / sizeof(RandomAction));
    if (count != 0) std::memcpy(data, actions.data(), count * sizeof(RandomAction));
    return count * sizeof(RandomAction);
}
