#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Headless {

/// Those who want to be called when something happens: borrowed pointers in the order of their registration,
/// each once. Serves the reactors of objects and of the document manager, and the message filters.
///
/// Any of them may change the list while it is called: one that is removed before its turn is not called, one
/// that is added is called from the next walk on, and walks may nest. The list itself has to outlive its
/// walks. One member needs no memory beyond the list, because most objects have one reactor at most.
template <class T>
class CallList {
public:
    /// False when it is there already.
    bool add(T member) {
        if (contains(member)) return false;
        if (many_ == nullptr && only_ == nullptr) {
            only_ = member;
        } else {
            spill().members.push_back(member);
        }
        return true;
    }

    /// False when it is not there.
    bool remove(T member) {
        return removeIf([member](T each) { return each == member; }) != 0;
    }

    /// Removes all that `isUnwanted` says, and gives how many they were. It must not change the list.
    template <class Predicate>
    std::size_t removeIf(Predicate isUnwanted) {
        if (many_ != nullptr) return removeFromMany(isUnwanted);
        if (only_ == nullptr || !isUnwanted(only_)) return 0;
        only_ = nullptr;
        return 1;
    }

    [[nodiscard]] bool contains(T member) const {
        if (many_ == nullptr) return member != nullptr && only_ == member;
        return std::find(many_->members.begin(), many_->members.end(), member) != many_->members.end();
    }

    [[nodiscard]] std::size_t size() const {
        if (many_ == nullptr) return only_ != nullptr ? 1 : 0;
        return many_->members.size() - many_->holes;
    }
    [[nodiscard]] bool isEmpty() const { return size() == 0; }

    template <class Call>
    void callEach(Call call) {
        if (many_ != nullptr) {
            callMany(call);
        } else if (only_ != nullptr) {
            call(only_); // nothing of the list is needed afterwards
        }
    }

private:
    /// More than one member, or a list that is being walked. Those removed during a walk leave a hole (null),
    /// so that positions keep their meaning until the outermost walk is over.
    struct Many {
        std::vector<T> members;
        std::size_t holes = 0;
        int walks = 0;
    };

    Many& spill() {
        if (many_ == nullptr) {
            auto many = std::make_unique<Many>();
            many->members.push_back(only_);
            many_ = std::move(many); // only now: memory may run out before
            only_ = nullptr;
        }
        return *many_;
    }

    template <class Predicate>
    std::size_t removeFromMany(Predicate isUnwanted) {
        std::size_t removed = 0;
        for (T& member : many_->members) {
            if (member == nullptr || !isUnwanted(member)) continue;
            member = nullptr;
            ++removed;
        }
        many_->holes += removed;
        if (removed != 0) sweep();
        return removed;
    }

    template <class Call>
    void callMany(Call call) {
        Many& many = *many_;
        ++many.walks;
        const std::size_t end = many.members.size();
        for (std::size_t at = 0; at < end; ++at) {
            if (T const member = many.members[at]; member != nullptr) call(member);
        }
        --many.walks;
        sweep();
    }

    /// Closes the holes once nobody walks, and goes back to the small form when that suffices.
    void sweep() {
        Many& many = *many_;
        if (many.walks != 0 || (many.holes == 0 && many.members.size() > 1)) return;
        many.members.erase(std::remove(many.members.begin(), many.members.end(), nullptr),
                           many.members.end());
        many.holes = 0;
        if (many.members.size() > 1) return;
        only_ = many.members.empty() ? nullptr : many.members.front();
        many_.reset();
    }

    T only_ = nullptr;
    std::unique_ptr<Many> many_;
};

} // namespace Headless
