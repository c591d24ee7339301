#pragma once

#include "host/symbol_utilities.h"

/// Whether `container` is the model space of a drawing other than `own`: what is placed there counts as
/// placed in the record of this drawing that represents the attached one.
[[nodiscard]] inline bool kzdxIsForeignModelSpace(KzDbObjectId container, const KzDbDatabase* own) {
    if (!container.isValid()) return false;
    const KzDbDatabase* const database = container.database();
    if (database == nullptr || database == own) return false;
    return KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(database) == container;
}
