#pragma once

/// @file
/// Calls of registered pointers, in the order of registration.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Zelvane {

/// Borrowed pointers to call when something happens, in the order of their registration, each once: the
/// watches and timers of a document, and in the headless host the reactors and message filters.
///
/// A member may change the list while it is called: a member that is removed before its turn is not called,
/// a member that is added is called from the next walk on, and walks may nest. The list must outlive its
/// walks.
template <class T>
class CallList {
public:
    /// False if it is there already. Throws std::bad_alloc, with nothing changed.
    bool add(T member) {
        if (contains(member)) return false;
        members_.push_back(member);
        ++size_;
        return true;
    }

    /// False if it is not there.
    bool remove(T member) noexcept {
        return removeIf([member](T each) { return each == member; }) != 0;
    }

    /// Removes all that `isUnwanted` selects, and returns how many. `isUnwanted` must not change the list.
    template <class Predicate>
    std::size_t removeIf(Predicate isUnwanted) {
        const std::size_t before = size_;
        for (T& member : members_) {
            if (member == nullptr || !isUnwanted(member)) continue;
            member = nullptr;
            --size_;
        }
        sweep();
        return before - size_;
    }

    /// Whether it is registered.
    [[nodiscard]] bool contains(T member) const {
        return std::find(members_.begin(), members_.end(), member) != members_.end();
    }
    /// How many are registered.
    [[nodiscard]] std::size_t size() const { return size_; }

    /// Calls `call(member)` for each member. Does not allocate.
    template <class Call>
    void callEach(Call call) {
        ++walks_;
        const std::size_t end = members_.size();
        for (std::size_t at = 0; at < end; ++at) {
            if (T const member = members_[at]; member != nullptr) call(member);
        }
        --walks_;
        sweep();
    }

private:
    /// Removal leaves a null pointer, so that positions keep their meaning until the outermost walk has
    /// ended.
    void sweep() {
        if (walks_ == 0 && size_ != members_.size()) std::erase(members_, nullptr);
    }

    std::vector<T> members_;
    std::uint32_t size_ = 0; // without null pointers
    std::uint32_t walks_ = 0;
};

} // namespace Zelvane
