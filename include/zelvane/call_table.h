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

/// The number of documents with separate plain functions. More documents share them.
inline constexpr std::size_t documentSlots = 64;

/// The purpose of a plain function. Zelvane calls the functions of a round in ascending order of address,
/// so the functions with the lowest addresses open a round, those with the highest addresses close it, and
/// those of the code are in between.
enum class Role : std::uint8_t {
    opensRound,  ///< a round of a document begins
    code,        ///< a callback of the superimposed code; the same ones for all documents
    closesRound, ///< a round of a document ends: all callbacks of the code were called
    timer,       ///< the timers of a document; never called in a round of blocks
};

inline constexpr std::size_t slotCount = 3 * documentSlots + SuperimposedCode::callbacks;

/// Called by the plain function of a slot. Defined in `document_client.h`.
void callSlot(std::size_t slot) noexcept;

/// Assigns roles to the plain functions by their addresses, which are known only at run time. Immutable.
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

    /// The function of a role. `number` is the slot of the document, or the callback of the code.
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

/// The active rounds, the innermost last. Rounds nest, because a callback between the opening and the
/// closing one may run the message loop.
///
/// A round that is aborted (its document is closed, or Zelvane is unloaded) leaves its entry. When an outer
/// round closes, such entries are merged into it, because later callbacks were called for the outer round.
class CallRounds {
public:
    void open(std::size_t documentSlot) {
        if (depth_ == deepest) forgetOutermost();
        rounds_[depth_++] = {documentSlot, {}};
    }
    void note(std::size_t callback) {
        if (depth_ != 0) rounds_[depth_ - 1].called.set(callback);
    }
    /// Ends a round. Returns the callbacks that were called in it; nothing if the round has no entry: then
    /// any block may have changed.
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
    /// Removes the rounds of a document that ends.
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
