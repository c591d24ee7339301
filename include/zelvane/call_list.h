#pragma once

/// @file
/// A list of registered pointers that may change while it is walked.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Zelvane {

/// A list of borrowed pointers, each once, which are called in the order of registration. Used for the
/// watches and timers of a document, and in the headless host for reactors and message filters.
///
/// A member may change the list while it is called: a member that is removed before its call is not called,
/// a member that is added is called from the next walk on, and walks may nest. The list must outlive its
/// walks.
template <class T>
class CallList {
public:
    /// Adds a member; false if it is registered already. May throw std::bad_alloc, without effect.
    bool add(T member) {
        if (contains(member)) return false;
        members_.push_back(member);
        ++size_;
        return true;
    }

    /// Removes a member; false if it is not registered.
    bool remove(T member) noexcept {
        return removeIf([member](T each) { return each == member; }) != 0;
    }

    /// Removes all members for which `isUnwanted(member)` is true, and returns their number. `isUnwanted`
    /// must not change the list.
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

    /// Whether a member is registered.
    [[nodiscard]] bool contains(T member) const {
        return std::find(members_.begin(), members_.end(), member) != members_.end();
    }
    /// The number of members.
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
    /// Removes the null pointers of removed members after the outermost walk has ended; until then
    /// positions must not change.
    void sweep() {
        if (walks_ == 0 && size_ != members_.size()) std::erase(members_, nullptr);
    }

    std::vector<T> members_;
    std::uint32_t size_ = 0; // without null pointers
    std::uint32_t walks_ = 0;
};

} // namespace Zelvane
