#pragma once

/// @file
/// How objects are named.

#include "host/platform_export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

class KzDbDatabase;

/// Identifies an object of a drawing for as long as the process lives. 64 bits; the null id is 0.
///
/// An id is a plain value and compares by it; ids ascend in the order in which the objects were made. Every
/// question below may be asked of any id at any time: a null, stale, foreign or made-up one is simply not
/// valid.
///
///     const KzDbObjectId door = Zelvane::findBlock(drawing, "Door");
///     if (door.isValid() && !door.isErased()) doors.append(door);
class KzDbObjectId {
public:
    constexpr KzDbObjectId() = default;
    /// The id of that number.
    constexpr explicit KzDbObjectId(std::uint64_t value) : value_(value) {}

    /// Whether it is the null id, which names no object.
    [[nodiscard]] constexpr bool isNull() const { return value_ == 0; }
    /// Its number, for a table or a log.
    [[nodiscard]] constexpr std::uint64_t value() const { return value_; }

    /// Whether the id names an object that is in memory, erased or not.
    [[nodiscard]] KZHOST_API bool isValid() const;

    /// Whether the object itself is erased. False for an id that is not valid.
    [[nodiscard]] KZHOST_API bool isErased() const;

    /// Whether the object or one of its owners, however far up, is erased. False for an id that is not valid.
    [[nodiscard]] KZHOST_API bool isEffectivelyErased() const;

    /// The drawing that holds the object; null for an id that is not valid.
    [[nodiscard]] KZHOST_API KzDbDatabase* database() const;

    /// Ids are equal when they name the same object, and ascend in the order of creation.
    friend constexpr auto operator<=>(KzDbObjectId, KzDbObjectId) = default;

private:
    std::uint64_t value_ = 0;
};

template <>
struct std::hash<KzDbObjectId> {
    std::size_t operator()(KzDbObjectId id) const noexcept { return std::hash<std::uint64_t>{}(id.value()); }
};
