#pragma once

/// @file
/// Look-up of a drawing's model space.

#include "host/block_table.h"

/// The host's services object, with the one query that the module uses.
namespace KzDbSymbolUtilities {

/// Answers questions about the records of a drawing.
///
///     const KzDbObjectId modelSpace = KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(drawing);
class Services {
public:
    Services() = default;
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    virtual ~Services() = default;

    /// The id of a drawing's model-space record; null for a null drawing, or if there is none.
    [[nodiscard]] virtual KzDbObjectId modelSpaceRecordId(const KzDbDatabase* database) const = 0;
};

/// The one services object; it lives as long as the process.
[[nodiscard]] KZHOST_API const Services* servicesPtr106();

} // namespace KzDbSymbolUtilities
