// Whatever clients do in their callbacks, and the host around them: the list of actions is the input, four
// bytes each (tests/support/unruly_clients.h). Mutations keep actions whole.
#include "tests/support/unruly_clients.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <span>
#include <vector>

namespace {

using Actions = std::vector<UnrulyAction>;
static_assert(sizeof(UnrulyAction) == 4);

/// A part of an action at the end is left out.
Actions actionsIn(const std::uint8_t* data, std::size_t size) {
    Actions actions(size / sizeof(UnrulyAction));
    if (!actions.empty()) std::memcpy(actions.data(), data, actions.size() * sizeof(UnrulyAction));
    return actions;
}

std::size_t write(const Actions& actions, std::uint8_t* data, std::size_t most) {
    const std::size_t count = std::min(actions.size(), most / sizeof(UnrulyAction));
    if (count != 0) std::memcpy(data, actions.data(), count * sizeof(UnrulyAction));
    return count * sizeof(UnrulyAction);
}

class Mutation {
public:
    Mutation(Actions& actions, unsigned seed) : actions_(actions), random_(seed) {}

    void change() {
        if (actions_.size() < 8) return insertNew(100);
        switch (below(5)) {
        case 0:
            return insertNew(1 + below(8));
        case 1:
            return static_cast<void>(actions_.erase(anyPlace()));
        case 2:
            return static_cast<void>(actions_.insert(anyPlace(), UnrulyAction(*anyPlace())));
        case 3:
            return std::iter_swap(anyPlace(), anyPlace());
        default:
            return changeOneByte(*anyPlace());
        }
    }

    /// Goes on with the actions of another list from some place on.
    void cross(const Actions& other) {
        if (actions_.empty() || other.empty()) return;
        actions_.erase(anyPlace(), actions_.end());
        actions_.insert(actions_.end(), other.begin() + static_cast<std::ptrdiff_t>(below(other.size())),
                        other.end());
    }

private:
    void insertNew(std::size_t count) {
        Actions made(count);
        for (UnrulyAction& action : made) action = {byte(), byte(), byte(), byte()};
        const auto at = actions_.empty() ? actions_.end() : anyPlace();
        actions_.insert(at, made.begin(), made.end());
    }
    void changeOneByte(UnrulyAction& action) {
        std::uint8_t* const bytes[] = {&action.kind, &action.a, &action.b, &action.c};
        *bytes[below(std::size(bytes))] = byte();
    }

    [[nodiscard]] Actions::iterator anyPlace() {
        return actions_.begin() + static_cast<std::ptrdiff_t>(below(actions_.size()));
    }
    [[nodiscard]] std::uint8_t byte() { return static_cast<std::uint8_t>(below(256)); }
    [[nodiscard]] std::size_t below(std::size_t limit) { return random_() % limit; }

    Actions& actions_;
    std::mt19937 random_;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Stays loaded: the fuzzer cannot follow libraries that come and go. Not by way of the host, which
    // counts.
    return dlopen("ZelvaneRes.dll", RTLD_NOW) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string complaint = runUnrulyClients(actionsIn(data, size));
    if (complaint.empty()) return 0;
    std::fprintf(stderr, "%s\n", complaint.c_str());
    std::abort();
}

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t most,
                                               unsigned seed) {
    Actions actions = actionsIn(data, size);
    Mutation(actions, seed).change();
    return write(actions, data, most);
}

extern "C" std::size_t LLVMFuzzerCustomCrossOver(const std::uint8_t* first, std::size_t firstSize,
                                                 const std::uint8_t* second, std::size_t secondSize,
                                                 std::uint8_t* out, std::size_t most, unsigned seed) {
    Actions actions = actionsIn(first, firstSize);
    Mutation(actions, seed).cross(actionsIn(second, secondSize));
    return write(actions, out, most);
}
