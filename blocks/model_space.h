#pragma once

#include "host/symbol_utilities.h"

/// Whether `container` is the model space of a drawing other than `own`: what is placed there is seen in this
/// drawing through the record that stands for the attached one.
[[nodiscard]] inline bool kzdxIsForeignModelSpace(KzDbObjectId container, const KzDbDatabase* own) {
    if (!container.isValid()) return false;
    const KzDbDatabase* const database = container.database();
    if (database == nullptr || database == own) return false;
    return KzDbSymbolUtilities::servicesPtr106()->modelSpaceRecordId(database) == container;
}
