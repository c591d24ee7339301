#pragma once

#include "core/life.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <vector>

/// An ordered set of pointers (to receivers, timers or functions) that are called in turn: the one mechanism
/// behind every walk of the module that calls out.
///
/// Members are borrowed, each is in the set once, and they are called in ascending order of address. Whatever
/// a call does, the walk never touches a member that was removed, because it keeps addresses only and
/// compares them as addresses. During a call,
/// - a member that is removed before its turn is not called, even if it was destroyed;
/// - the set may be emptied, refilled or walked again from inside;
/// - the set may be destroyed: this walk and all walks around it end at once and return false;
/// - a member that is added is called in the same walk if its address is not below that of the next member,
///   which `Next` defines. A callee that goes on adding such members keeps the walk going.
/// A walk allocates nothing, and costs one comparison per member beyond the call while the set does not
/// change.
template <class T>
class KzDxCallSet {
    static_assert(std::is_pointer_v<T>);

public:
    /// When a walk decides which member follows the one it calls.
    enum class Next {
        chosenBeforeCall, ///< the successor at the time of the call, or, if it was removed, the first one
                          ///< beyond it; one that is added in between is not called; after the last
                          ///< member the walk is over
        chosenAfterCall,  ///< the first member beyond the called one, as the set is after the call
    };

    /// Reserves room for one more member: the next insertion does not allocate.
    void reserveOne() { members_.reserve(members_.size() + 1); }

    /// Adds a member; false when it was there already.
    bool insert(T member) {
        const auto at = std::lower_bound(members_.begin(), members_.end(), member, std::less<T>());
        if (at != members_.end() && *at == member) return false;
        members_.insert(at, member);
        ++changes_;
        return true;
    }

    /// Removes a member; false when it was not there.
    bool erase(T member) {
        const auto at = std::lower_bound(members_.begin(), members_.end(), member, std::less<T>());
        if (at == members_.end() || *at != member) return false;
        members_.erase(at);
        ++changes_;
        return true;
    }

    void clear() {
        members_.clear();
        ++changes_;
    }

    [[nodiscard]] bool isEmpty() const { return members_.empty(); }
    [[nodiscard]] std::size_t size() const { return members_.size(); }

    /// The members in ascending order, for walks that do not call out.
    [[nodiscard]] auto begin() const { return members_.begin(); }
    [[nodiscard]] auto end() const { return members_.end(); }

    /// Calls `call(member)` for each member in ascending order. A `call` that returns a bool ends the walk
    /// with false. Returns false when the set was destroyed by a call: then nothing that belonged to it may
    /// be touched.
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
