#include "headless/trace.h"

namespace Headless {

TraceListener* TraceScope::current = nullptr;

void traceTo(TraceListener* listener) {
    TraceScope::current = listener;
}

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
