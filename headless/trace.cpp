#include "headless/trace.h"

namespace Headless {

TraceListener* TraceScope::listener = nullptr;

void traceTo(TraceListener* listener) {
    TraceScope::listener = listener;
}

} // namespace Headless
