#pragma once

#include "core/life.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

/// An ordered set of pointers to receivers, timers or functions that are called in order. Every walk of the
/// module that calls out uses this class.
///
/// Members are borrowed, each is in the set once, and they are called in ascending order of address. A walk
/// never accesses a removed member, because it only compares addresses. During a call,
/// - a member that is removed before its turn is not called, even if it was destroyed;
/// - the set may be emptied, refilled or walked again;
/// - the set may be destroyed: this walk and all outer walks end immediately and return false;
/// - a member that is added is called in the same walk if its address is not below that of the next member,
///   which `Next` defines. A callee that always adds such members makes the walk endless.
/// A walk does not allocate. While the set does not change, it costs one comparison per member in addition to
/// the calls.
template <class T>
class KzDxCallSet {
    static_assert(std::is_pointer_v<T>);

public:
    /// When a walk chooses the next member.
    enum class Next {
        chosenBeforeCall, ///< the successor before the call or, if it was removed, the first member after
                          ///< it; a member that is added before the successor, or after the last member,
                          ///< is not called
        chosenAfterCall,  ///< the first member after the called one, in the set after the call
    };

    /// Reserves memory for one more member, so that the next insertion does not allocate.
    void reserveOne() { members_.reserve(members_.size() + 1); }

    /// Adds a member, unless the set has it already.
    void insert(T member) {
        const auto at = std::lower_bound(members_.begin(), members_.end(), member, std::less<T>());
        if (at != members_.end() && *at == member) return;
        members_.insert(at, member);
        ++changes_;
    }

    /// Removes a member; false if the set does not have it.
    bool erase(T member) {
        const auto at = std::lower_bound(members_.begin(), members_.end(), member, std::less<T>());
        if (at == members_.end() || *at != member) return false;
        members_.erase(at);
        ++changes_;
        return true;
    }

    [[nodiscard]] bool isEmpty() const { return members_.empty(); }
    [[nodiscard]] std::size_t size() const { return members_.size(); }

    /// The members in ascending order, for walks that do not call out.
    [[nodiscard]] auto begin() const { return members_.begin(); }
    [[nodiscard]] auto end() const { return members_.end(); }

    /// Calls `call(member)` for each member in ascending order. If `call` returns a bool, false ends the
    /// walk. Returns false if a call destroyed the set: then the owner of the set must not be used.
    template <class Call>
    bool callEach(Next next, Call call) {
        const KzDxLife::Watch watch(life_);
        std::size_t at = 0;
        while (at < members_.size()) {
            const T member = members_[at];
            const bool isLast = at + 1 == members_.size();
            const T successor = isLast ? nullptr : members_[at + 1];
            const std::uint64_t changesBefore = changes_;
            const bool goesOn = callOne(call, member);
            if (watch.isDestroyed()) return false;
            if (!goesOn) return true;
            if (changes_ == changesBefore) {
                ++at;
            } else if (next == Next::chosenAfterCall) {
                at = indexOfFirst(std::upper_bound(members_.begin(), members_.end(), member, std::less<T>()));
            } else if (isLast) {
                return true;
            } else {
                at = indexOfFirst(
                    std::lower_bound(members_.begin(), members_.end(), successor, std::less<T>()));
            }
        }
        return true;
    }

private:
    template <class Call>
    static bool callOne(Call& call, T member) {
        if constexpr (std::is_same_v<decltype(call(member)), bool>) {
            return call(member);
        } else {
            call(member);
            return true;
        }
    }

    [[nodiscard]] std::size_t indexOfFirst(typename std::vector<T>::const_iterator at) const {
        return static_cast<std::size_t>(at - members_.begin());
    }

    std::vector<T> members_;
    std::uint64_t changes_ = 0;
    KzDxLife life_;
};
