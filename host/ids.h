#pragma once

/// @file
/// Object ids.

#include "host/platform_export.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

class KzDbDatabase;

/// Identifies an object of a drawing for as long as the process lives. 64 bits; the null id is 0.
///
/// An id is a plain value and compares by it; ids ascend in the order in which the objects were created.
/// Every query below is allowed for any id at any time: a null, stale, foreign or invented id is not valid.
///
///     const KzDbObjectId door = Zelvane::findBlock(drawing, "Door");
///     if (door.isValid() && !door.isErased()) doors.append(door);
class KzDbObjectId {
public:
    constexpr KzDbObjectId() = default;
    /// The id with that value.
    constexpr explicit KzDbObjectId(std::uint64_t value) : value_(value) {}

    /// Whether this is the null id, which identifies no object.
    [[nodiscard]] constexpr bool isNull() const { return value_ == 0; }
    /// The value, for a table or a log.
    [[nodiscard]] constexpr std::uint64_t value() const { return value_; }

    /// Whether the id identifies an object in memory, erased or not.
    [[nodiscard]] KZHOST_API bool isValid() const;

    /// Whether the object itself is erased. False for an id that is not valid.
    [[nodiscard]] KZHOST_API bool isErased() const;

    /// Whether the object or one of its owners, at any level, is erased. False for an id that is not valid.
    [[nodiscard]] KZHOST_API bool isEffectivelyErased() const;

    /// The drawing that holds the object; null for an id that is not valid.
    [[nodiscard]] KZHOST_API KzDbDatabase* database() const;

    /// Ids are equal if they identify the same object, and ascend in the order of creation.
    friend constexpr auto operator<=>(KzDbObjectId, KzDbObjectId) = default;

private:
    std::uint64_t value_ = 0;
};

template <>
struct std::hash<KzDbObjectId> {
    std::size_t operator()(KzDbObjectId id) const noexcept { return std::hash<std::uint64_t>{}(id.value()); }
};
