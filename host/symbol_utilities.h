#pragma once

/// @file
/// Which record is a drawing's model space.

#include "host/block_table.h"

/// The host's services object with the one question that the module asks of it.
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

    /// The id that is taken as a drawing's model-space record; null for a null drawing or one that has none.
    [[nodiscard]] virtual KzDbObjectId modelSpaceRecordId(const KzDbDatabase* database) const = 0;
};

/// The one services object; it lives as long as the process.
[[nodiscard]] KZHOST_API const Services* servicesPtr106();

} // namespace KzDbSymbolUtilities
