#include "headless/trace.h"

namespace Headless {

namespace {

std::vector<TraceListener*>& listeners =
    *new std::vector<TraceListener*>; // never destroyed: modules may call until the process ends

} // namespace

std::size_t TraceScope::listenerCount = 0;

TraceListener::TraceListener() {
    listeners.push_back(this);
    TraceScope::listenerCount = listeners.size();
}

TraceListener::~TraceListener() {
    std::erase(listeners, this);
    TraceScope::listenerCount = listeners.size();
}

void TraceScope::begin(const TraceEvent& event) {
    for (TraceListener* const each : listeners) each->begins(event);
}

void TraceScope::give(const TraceDetail& result) {
    for (TraceListener* const each : listeners) each->gives(result);
}

void TraceScope::end() {
    for (TraceListener* const each : listeners) each->ends();
}

} // namespace Headless
