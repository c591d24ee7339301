#pragma once

#include "host/block_table.h"

/// Questions about the well-known entries of a drawing's tables.
namespace KzDbSymbolUtilities {

class Services {
public:
    Services() = default;
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    virtual ~Services() = default;

    /// The model-space record of a drawing; null for a null drawing or one that has none.
    [[nodiscard]] virtual KzDbObjectId blockModelSpaceId(const KzDbDatabase* database) const = 0;
};

/// The one services object; it lives as long as the process.
[[nodiscard]] KZHOST_API const Services* servicesPtr106();

} // namespace KzDbSymbolUtilities
