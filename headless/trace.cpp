#include "headless/trace.h"

namespace Headless {

TraceListener* TraceScope::current = nullptr;

void traceTo(TraceListener* listener) {
    TraceScope::current = listener;
}

/// Keeps who has heard of the beginning: nobody else is told of the end. Another listener may have come
/// meanwhile, and the first one may be gone, so from here on its address is only compared.
void TraceScope::begin(const TraceEvent& event) {
    listener_ = current;
    listener_->begins(event);
}

void TraceScope::tell(const TraceDetail& result) {
    if (listener_ == current) listener_->gives(result);
}

void TraceScope::end() {
    if (listener_ == current) listener_->ends();
}

} // namespace Headless
