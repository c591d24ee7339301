#pragma once

#include "headless/export.h"
#include "host/status.h"

#include <cstddef>

/// Lets host calls fail on demand, for tests of what a module does then.
namespace Headless {

enum class FaultSpan {
    once,   ///< that call alone
    onwards ///< that call and all that follow
};

/// Lets the n-th of the following opens and queries fail with `status`, `callNumber` 1 being the next. Calls
/// that give a pointer instead of a status give null. What counts: opening an object, the queries of tables,
/// records, references, attributes' and documents' iterators, evaluation graphs and representations. Edits
/// made through "headless/edits.h" neither count nor fail.
HEADLESS_API void failHostCall(std::size_t callNumber, FaultSpan span,
                               Orvo::ErrorStatus status = Orvo::heldOpenForWrite);

/// Ends that. Gives how many calls have failed since `failHostCall`.
HEADLESS_API std::size_t endFaults();

} // namespace Headless
