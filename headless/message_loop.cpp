#include "headless/message_loop.h"

#include "headless/facilities.h"
#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/module_call.h"
#include "headless/shared_library.h"
#include "text/unicode.h"

#include <algorithm>
#include <string_view>

namespace Headless {

MessageLoop& messageLoop = *new MessageLoop;
std::string& resourceFolder = *new std::string;
std::vector<std::string>& librariesNotFound = *new std::vector<std::string>;

namespace {

/// A parameter of a message in words. Modules pass the addresses of documents, among others, so the number is
/// compared with those of all open ones; it is never used as an address.
std::string describeParameter(std::uintptr_t value) {
    for (const KzApDocument* const each : documents()) {
        if (reinterpret_cast<std::uintptr_t>(each) == value) {
            return "document \"" + Text::toUtf8(documentName(each)) + "\"";
        }
    }
    return std::to_string(value);
}

} // namespace

/// A filter may post, pump or unload the module that it belongs to. So a message is copied and taken off the
/// queue before it is shown, and the queue is looked at anew after each.
Pumped MessageLoop::pump() {
    Pumped result;
    while (!queue_.empty()) {
        const KzPlatform::Message message = queue_.front();
        queue_.pop_front();
        ++result.dispatched;
        if (isTaken(message)) ++result.taken; // the window itself has no use for messages
    }
    return result;
}

bool MessageLoop::isTaken(const KzPlatform::Message& message) {
    TraceScope trace([&] {
        TraceEvent event = eventOf("message shown", message);
        event.details.push_back({"filters", static_cast<std::int64_t>(filters.size())});
        return event;
    });
    const ModuleCall guard;
    bool isTaken = false;
    // A walk cannot be broken off, so those behind the filter that took the message are passed over.
    filters.callEach([&](KzEdMessageFilter filter) {
        if (!isTaken) isTaken = filter(&message) != 0;
    });
    trace.gives([&] { return TraceDetail{"taken", isTaken ? "yes" : "no"}; });
    return isTaken;
}

/// The name of a message that somebody registered, and its number.
TraceEvent MessageLoop::eventOf(const char* name, const KzPlatform::Message& message) const {
    std::string subject = std::to_string(message.number);
    for (const auto& [registered, number] : numbers_) {
        if (number == message.number) subject += " \"" + Text::toUtf8(registered) + "\"";
    }
    return {TraceCategory::message,
            name,
            subject,
            {{"first", describeParameter(message.first)},
             {"second", describeParameter(static_cast<std::uintptr_t>(message.second))}}};
}

void MessageLoop::post(std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    queue_.push_back({.window = &window_, .number = number, .first = first, .second = second, .time = ticks});
    // Traced when it is in the queue, from which the trace reads it.
    const TraceScope trace([&] { return eventOf("message posted", queue_.back()); });
}

KzPlatform::Window MessageLoop::window() {
    return RefusedFacilities::include(Facility::window) ? nullptr : &window_;
}

/// Numbers are not given back, so the count of them says which is next.
std::uint32_t MessageLoop::registerMessage(const std::u16string& name) {
    const auto next = firstNumber + static_cast<std::uint32_t>(numbers_.size());
    return numbers_.emplace(name, next).first->second;
}

namespace {

/// Looks in the resource folder, then in the system's search order. What is in neither is remembered, for the
/// message about a load that fails because of it.
LibraryHandle openByBareName(const std::string& name) {
    if (!resourceFolder.empty()) {
        const LibraryHandle library = openLibraryFile(resourceFolder + "/" + name).handle;
        if (library != nullptr) return library;
    }
    const LibraryHandle library = openLibraryByName(name);
    if (library == nullptr) librariesNotFound.push_back(name);
    return library;
}

/// Whether a call about filters answers 0, for good or on demand. What is refused for good does not count as
/// a call.
bool refusesFilters(HostCall call) {
    return RefusedFacilities::include(Facility::filter) || FaultGate::strikes(call);
}

} // namespace

bool MessageLoop::knows(std::uint32_t number) const {
    return number >= firstNumber && number - firstNumber < numbers_.size();
}

/// Libraries that a module has loaded and not given back stay: they are still open in the process, and tests
/// count them.
void resetMessageLoop() {
    MessageLoop& loop = messageLoop;
    loop.filters.removeIf([](KzEdMessageFilter) { return true; });
    loop.boxes.clear();
    loop.ticks = 0;
    loop.activeCommands = 0;
    loop.isInputWaiting = false;
    loop.clearQueue();
}

} // namespace Headless

/// A filter that is registered already stays in its place, and that is a success too.
int kzedRegisterFilterWinMsg(KzEdMessageFilter filter) {
    using namespace Headless;
    if (refusesFilters(HostCall::addFilter) || filter == nullptr) return 0;
    messageLoop.filters.add(filter);
    return 1;
}

int kzedRemoveFilterWinMsg(KzEdMessageFilter filter) {
    using namespace Headless;
    if (refusesFilters(HostCall::removeFilter) || filter == nullptr) return 0;
    return messageLoop.filters.remove(filter) ? 1 : 0;
}

int kzedCommandActive() {
    return Headless::messageLoop.activeCommands != 0 ? 1 : 0;
}

namespace KzPlatform {

using Headless::FaultGate;
using Headless::HostCall;
using Headless::isProvidedFor;

std::uint32_t tickCount() {
    return Headless::messageLoop.ticks;
}

Library loadLibrary(const char16_t* fileName) {
    // A path would go past the folder in which modules' libraries are looked for first.
    const bool isBare =
        fileName != nullptr && std::u16string_view(fileName).find(u'/') == std::u16string_view::npos;
    if (!isProvidedFor(isBare, "loadLibrary without a bare file name")) return nullptr;
    if (FaultGate::strikes(HostCall::loadLibrary)) return nullptr;
    const Library library = Headless::openByBareName(Text::toUtf8(fileName));
    if (library != nullptr) Headless::messageLoop.libraries.push_back(library);
    return library;
}

void freeLibrary(Library library) {
    std::vector<Library>& loaded = Headless::messageLoop.libraries;
    const auto found = std::find(loaded.begin(), loaded.end(), library);
    if (!isProvidedFor(found != loaded.end(), "freeLibrary of what is not loaded")) return;
    // One entry for each load: a library that was loaded twice stays with the other one.
    loaded.erase(found);
    Headless::closeLibrary(library);
}

std::uint32_t registerWindowMessage(const char16_t* name) {
    if (!isProvidedFor(name != nullptr, "registerWindowMessage without a name")) return 0;
    return Headless::messageLoop.registerMessage(name);
}

Window mainWindow() {
    return FaultGate::strikes(HostCall::mainWindow) ? nullptr : Headless::messageLoop.window();
}

bool postMessage(Window window, std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    const bool isRight = window != nullptr && Headless::messageLoop.knows(number) && second == 0;
    if (!isProvidedFor(isRight,
                       "postMessage without a window, of an unknown number or with a second parameter")) {
        return false;
    }
    // While the main window is refused, no window is the right one.
    if (FaultGate::strikes(HostCall::postMessage) || window != Headless::messageLoop.window()) return false;
    Headless::messageLoop.post(number, first, second);
    return true;
}

bool inputIsWaiting() {
    return Headless::messageLoop.isInputWaiting;
}

void messageBox(const char16_t* text, BoxStyle style, std::uint32_t helpContext) {
    const bool isRight = text != nullptr && style == BoxStyle::error && helpContext == 0;
    if (!isProvidedFor(isRight, "messageBox without a text, of another style or with help")) return;
    Headless::messageLoop.boxes.push_back({text, style});
}

} // namespace KzPlatform
