#pragma once

/// @file
/// The plain functions through which Zelvane calls watches and timers.

#include "zelvane/own_state.h"
#include "zelvane/superimposed_code.h"
#include "zelvane/trampolines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <numeric>
#include <optional>
#include <utility>

namespace Zelvane { // NOLINT(modernize-concat-nested-namespaces): only one of them has the attribute
namespace Kit ZELVANE_OWN {

using detail::SuperimposedCode;

/// For how many documents there are plain functions of their own. Further documents share them.
inline constexpr std::size_t documentSlots = 64;

/// What a plain function means. Zelvane calls the functions of a round in ascending order of address, so the
/// lowest addresses open a round, the highest ones close it, and the code is in between.
enum class Role : std::uint8_t {
    opensRound,  ///< a round of a document begins
    code,        ///< a callback of the superimposed code; the same ones for all documents
    closesRound, ///< a round of a document ends: now it is known which blocks may have changed
    timer,       ///< the timers of a document; never called in a round of blocks
};

inline constexpr std::size_t slotCount = 3 * documentSlots + SuperimposedCode::callbacks;

/// Called by the plain function of a slot. Defined with the documents that it leads to.
void callSlot(std::size_t slot) noexcept;

/// Which plain function has which role: by address, which is known only at run time.
class CallTable {
public:
    CallTable() : inOrder_(trampolines<callSlot, slotCount>()) {
        const auto functions = inOrder_;
        std::array<std::uint16_t, slotCount> slots{};
        std::iota(slots.begin(), slots.end(), std::uint16_t{0});
        std::ranges::sort(slots, std::less(), [&](std::uint16_t slot) { return functions[slot]; });
        for (std::size_t rank = 0; rank < slotCount; ++rank) {
            inOrder_[rank] = functions[slots[rank]];
            rankOfSlot_[slots[rank]] = static_cast<std::uint16_t>(rank);
        }
    }

    /// The function of a role. `number`: of the document's slot, or of the code's callback.
    [[nodiscard]] KzDxClientCallback function(Role role, std::size_t number) const {
        return inOrder_[firstRank(role) + number];
    }
    /// The role of a slot's function, and its number in that role.
    [[nodiscard]] std::pair<Role, std::size_t> meaning(std::size_t slot) const {
        const std::size_t rank = rankOfSlot_[slot];
        Role role = Role::timer;
        for (const Role each : {Role::closesRound, Role::code, Role::opensRound}) {
            if (rank < firstRank(role)) role = each;
        }
        return {role, rank - firstRank(role)};
    }

private:
    [[nodiscard]] static constexpr std::size_t firstRank(Role role) {
        switch (role) {
        case Role::opensRound:
            return 0;
        case Role::code:
            return documentSlots;
        case Role::closesRound:
            return documentSlots + SuperimposedCode::callbacks;
        case Role::timer:
            break;
        }
        return 2 * documentSlots + SuperimposedCode::callbacks;
    }

    std::array<KzDxClientCallback, slotCount> inOrder_; ///< in ascending order of address
    std::array<std::uint16_t, slotCount> rankOfSlot_{};
};

[[nodiscard]] inline const CallTable& callTable() {
    static const CallTable table;
    return table;
}

/// The rounds of calls that are under way, the innermost last: a callback between the opening and the closing
/// one may run the message loop, and a round in that round begins.
///
/// A round that is cut off (its document closes, Zelvane is unloaded) leaves its entry behind. The closing of
/// a round around it takes such entries along; what was called since then was called for that outer round.
class CallRounds {
public:
    void open(std::size_t documentSlot) {
        if (depth_ == deepest) forgetOutermost();
        rounds_[depth_++] = {documentSlot, {}};
    }
    void note(std::size_t callback) {
        if (depth_ != 0) rounds_[depth_ - 1].called.set(callback);
    }
    /// What was called in the round that ends; nothing if its opening was not seen, and then any block can
    /// have changed.
    [[nodiscard]] std::optional<SuperimposedCode::Called> close(std::size_t documentSlot) {
        SuperimposedCode::Called called;
        for (std::size_t depth = depth_; depth-- != 0;) {
            called |= rounds_[depth].called;
            if (rounds_[depth].documentSlot != documentSlot) continue;
            depth_ = depth;
            return called;
        }
        return std::nullopt;
    }
    /// The document of the slot takes no further calls.
    void forget(std::size_t documentSlot) {
        const auto end = rounds_.begin() + static_cast<std::ptrdiff_t>(depth_);
        const auto kept = std::remove_if(
            rounds_.begin(), end, [=](const Round& each) { return each.documentSlot == documentSlot; });
        depth_ = static_cast<std::size_t>(kept - rounds_.begin());
    }

private:
    struct Round {
        std::size_t documentSlot = 0;
        SuperimposedCode::Called called;
    };

    void forgetOutermost() {
        std::shift_left(rounds_.begin(), rounds_.end(), 1);
        --depth_;
    }

    static constexpr std::size_t deepest = 8;
    std::array<Round, deepest> rounds_;
    std::size_t depth_ = 0;
};

inline constinit CallRounds callRounds;

} // namespace ZELVANE_OWN
} // namespace Zelvane
