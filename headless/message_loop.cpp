// The platform services for modules: the message queue and its filters, the clock, the main window, message
// boxes, and libraries.

#include "headless/message_loop.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "headless/session.h"
#include "headless/shared_library.h"
#include "headless/trace.h"
#include "host/platform.h"
#include "text/unicode.h"

#include <algorithm>
#include <deque>
#include <map>
#include <string_view>

namespace Headless {

Zelvane::CallList<KzEdMessageFilter>& messageFilters = *new Zelvane::CallList<KzEdMessageFilter>;
std::string& resourceFolder = *new std::string;
std::vector<std::string>& librariesNotFound = *new std::vector<std::string>;

namespace {

constexpr std::uint32_t firstNumber = 0xC000; // of registered messages

/// The state that `resetMessageLoop` resets. Never destroyed.
struct MessageLoop {
    std::deque<KzPlatform::Message> queue;
    std::vector<ShownBox> boxes;
    std::uint32_t ticks = 0;
    int activeCommands = 0;
    bool isInputWaiting = false;
};
MessageLoop& loop = *new MessageLoop;
std::map<std::u16string, std::uint32_t>& messageNumbers = *new std::map<std::u16string, std::uint32_t>;
std::vector<KzPlatform::Library>& libraries = *new std::vector<KzPlatform::Library>; // one entry per load
char window = 0; // its address is the main window

// ---- traces

/// Describes a parameter as a document if it is the address of an open one, because modules pass such
/// addresses. The address is compared, not dereferenced.
std::string describeParameter(std::uintptr_t value) {
    for (const KzApDocument* const each : documents()) {
        if (reinterpret_cast<std::uintptr_t>(each) == value) {
            return "document \"" + Text::toUtf8(documentName(each)) + "\"";
        }
    }
    return std::to_string(value);
}

TraceEvent eventOf(const char* name, const KzPlatform::Message& message) {
    std::string subject = std::to_string(message.number);
    for (const auto& [registered, number] : messageNumbers) {
        if (number == message.number) subject += " \"" + Text::toUtf8(registered) + "\"";
    }
    return {TraceCategory::message,
            name,
            subject,
            {{"first", describeParameter(message.first)},
             {"second", describeParameter(static_cast<std::uintptr_t>(message.second))}}};
}

// ---- libraries

/// Searches the resource folder, then the system's search path.
LibraryHandle openByBareName(const std::string& name) {
    LibraryHandle library = nullptr;
    if (!resourceFolder.empty()) library = openLibraryFile(resourceFolder + "/" + name).handle;
    if (library == nullptr) library = openLibraryByName(name);
    if (library == nullptr) librariesNotFound.push_back(name);
    return library;
}

} // namespace

void resetMessageLoop() {
    messageFilters.removeIf([](KzEdMessageFilter) { return true; });
    loop = {};
}

// ---- commands

/// The command is active after the first report and until before the second, so that reactors find it
/// inactive both times.
KzApDocument* beginCommand(const std::u16string& name) {
    KzApDocument* const document = currentDocument();
    if (document == nullptr) return nullptr;
    reportLockMode(document, name.c_str());
    ++loop.activeCommands;
    return document;
}

void endCommand(KzApDocument* document, const std::u16string& name) {
    if (document == nullptr) return;
    --loop.activeCommands;
    reportLockMode(document, (u"#" + name).c_str());
}

// ---- messages and clock

/// A filter may post, pump or unload its own module, so a message is removed from the queue before filters
/// are called, and the queue is checked again after each message.
PumpResult pump() {
    PumpResult result;
    while (!loop.queue.empty()) {
        const KzPlatform::Message message = loop.queue.front();
        loop.queue.pop_front();
        ++result.dispatched;
        if (callFilters(message)) ++result.taken; // the window ignores messages that no filter took
    }
    return result;
}

bool callFilters(const KzPlatform::Message& message) {
    TraceScope trace([&] {
        TraceEvent event = eventOf("message shown", message);
        event.details.push_back({"filters", static_cast<std::int64_t>(messageFilters.size())});
        return event;
    });
    const ModuleCall guard;
    bool isTaken = false;
    // The filters after the one that took the message are skipped.
    messageFilters.callEach([&](KzEdMessageFilter filter) { isTaken = isTaken || filter(&message) != 0; });
    trace.gives([&] { return TraceDetail{"taken", isTaken ? "yes" : "no"}; });
    return isTaken;
}

/// Modules post their messages for the idle state when the lock mode is reported; `pump` dispatches them.
PumpResult idle() {
    reportLockMode(currentDocument(), u"#idle");
    return pump();
}

/// Traces the message after it was added to the queue.
void post(std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    loop.queue.push_back(
        {.window = &window, .number = number, .first = first, .second = second, .time = loop.ticks});
    const TraceScope trace([&] { return eventOf("message posted", loop.queue.back()); });
}

std::uint32_t ticks() {
    return loop.ticks;
}

void setTicks(std::uint32_t value) {
    loop.ticks = value;
}

void advance(std::uint32_t milliseconds) {
    loop.ticks += milliseconds;
}

void setInputWaiting(bool isWaiting) {
    loop.isInputWaiting = isWaiting;
}

const std::vector<ShownBox>& shownBoxes() {
    return loop.boxes;
}

std::size_t filterCount() {
    return messageFilters.size();
}

std::size_t loadedLibraryCount() {
    return libraries.size();
}

} // namespace Headless

using namespace Headless;

/// A filter that is registered already keeps its position; the call succeeds.
int kzedRegisterFilterWinMsg(KzEdMessageFilter filter) {
    if (shouldFail(HostCall::addFilter) || filter == nullptr) return 0;
    messageFilters.add(filter);
    return 1;
}

int kzedRemoveFilterWinMsg(KzEdMessageFilter filter) {
    if (shouldFail(HostCall::removeFilter) || filter == nullptr) return 0;
    return messageFilters.remove(filter) ? 1 : 0;
}

int kzedCommandActive() {
    return loop.activeCommands != 0 ? 1 : 0;
}

namespace KzPlatform {

std::uint32_t tickCount() {
    return loop.ticks;
}

Library loadLibrary(const char16_t* fileName) {
    // A path would bypass the resource folder.
    const bool isBare =
        fileName != nullptr && std::u16string_view(fileName).find(u'/') == std::u16string_view::npos;
    if (!checkUsage(isBare, "loadLibrary without a bare file name")) return nullptr;
    if (shouldFail(HostCall::loadLibrary)) return nullptr;
    const Library library = openByBareName(Text::toUtf8(fileName));
    if (library != nullptr) libraries.push_back(library);
    return library;
}

/// Removes one entry: a library that was loaded twice remains loaded once.
void freeLibrary(Library library) {
    const auto found = std::find(libraries.begin(), libraries.end(), library);
    if (!checkUsage(found != libraries.end(), "freeLibrary of a library that is not loaded")) return;
    libraries.erase(found);
    closeLibrary(library);
}

/// Numbers are never unregistered, so the next number follows from their count.
std::uint32_t registerWindowMessage(const char16_t* name) {
    if (!checkUsage(name != nullptr, "registerWindowMessage without a name")) return 0;
    const auto next = firstNumber + static_cast<std::uint32_t>(messageNumbers.size());
    return messageNumbers.emplace(name, next).first->second;
}

Window mainWindow() {
    return shouldFail(HostCall::mainWindow) ? nullptr : &window;
}

bool postMessage(Window target, std::uint32_t number, std::uintptr_t first, std::intptr_t second) {
    const bool isKnown = number >= firstNumber && number - firstNumber < messageNumbers.size();
    if (!checkUsage(target != nullptr && isKnown && second == 0,
                    "postMessage without a window, with an unregistered number or with a second parameter")) {
        return false;
    }
    if (shouldFail(HostCall::postMessage) || target != &window) return false;
    post(number, first, second);
    return true;
}

bool inputIsWaiting() {
    return loop.isInputWaiting;
}

void messageBox(const char16_t* text, BoxStyle style, std::uint32_t helpContext) {
    const bool isValid = text != nullptr && style == BoxStyle::error && helpContext == 0;
    if (!checkUsage(isValid, "messageBox without a text, with another style or with a help context")) return;
    loop.boxes.push_back({text, style});
}

} // namespace KzPlatform
