#pragma once

#include "host/ids.h"

#include <vector>

namespace Headless {

class Object;

/// All objects of all drawings, found by id. An id is a position in this table; positions are given out in
/// ascending order and never again, so any number can be asked for safely.
class ObjectTable {
public:
    ObjectTable() : entries_(1, nullptr) {} // the null id finds nothing

    [[nodiscard]] KzDbObjectId add(Object* object) {
        entries_.push_back(object);
        return lastId();
    }
    void forget(KzDbObjectId id) { entries_[id.value()] = nullptr; }

    /// Null for an id that names nothing in memory.
    [[nodiscard]] Object* find(KzDbObjectId id) const {
        return id.value() < entries_.size() ? entries_[id.value()] : nullptr;
    }

    [[nodiscard]] KzDbObjectId lastId() const { return KzDbObjectId(entries_.size() - 1); }

private:
    std::vector<Object*> entries_;
};

// Never destroyed: objects may be asked for until the process ends.
extern ObjectTable& objectTable;

} // namespace Headless
