#pragma once

#include "headless/export.h"
#include "headless/faults.h"
#include "host/documents.h"
#include "host/editor.h"
#include "host/platform.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The host as a process: its documents, message queue, clock and commands. One thread; every call may be
/// made from inside a notification, a filter or a client callback. Documents that are null, closed or made up
/// are answered, never dereferenced: the address of a document is not used again after it was closed.
namespace Headless {

/// Resets the host to its initial state: modules unloaded, documents closed, held objects let go, and what is
/// left of reactors, filters, services, messages, refusals, faults and mistakes dropped, except mistakes
/// made meanwhile. Ids and document addresses are not used again all the same. Not to be called from inside a
/// callback.
HEADLESS_API void reset();

// ---- documents

/// Opens a document and makes it current. With a drawing it has the layout records "*Model_Space" and
/// "*Paper_Space", in this order. The reactors of the document manager may close it again before this
/// returns.
HEADLESS_API KzApDocument* openDocument(std::u16string_view name, bool withDrawing = true);

/// Closes a document. False when it is not open, or is being closed already.
HEADLESS_API bool closeDocument(KzApDocument* document);

/// The open documents in the order of opening, unlisted ones too.
[[nodiscard]] HEADLESS_API std::vector<KzApDocument*> documents();
[[nodiscard]] HEADLESS_API bool isOpen(const KzApDocument* document);
/// The name that it was opened with; empty for one that is not open.
[[nodiscard]] HEADLESS_API std::u16string documentName(const KzApDocument* document);

/// The current document, also while the host refuses to give a document manager; null when none is open.
[[nodiscard]] HEADLESS_API KzApDocument* currentDocument();
/// Makes an open document current. False for one that is not open.
HEADLESS_API bool makeCurrent(KzApDocument* document);

/// What modules can query about a document.
struct DocumentState {
    bool isReady = true;          ///< the yes/no state
    std::int32_t busy = 0;        ///< the whole number
    KzAp::DocLockMode lockMode{}; ///< 0 at first
    bool isListed = true;         ///< whether the document iterator visits it; it is open all the same
};

/// The state of an open document, for reading and writing. For any other document, one that affects nothing.
[[nodiscard]] HEADLESS_API DocumentState& documentState(const KzApDocument* document);

// ---- commands

/// Reports one lock-mode change of a document to the document manager's reactors. `command` may be null.
HEADLESS_API void reportLockMode(KzApDocument* document, const char16_t* command);

/// Reports the lock mode as changed for `name` and makes a command active until the matching `endCommand`,
/// which reports it for "#" + name. The document is the current one; null when there is none, and then
/// nothing has begun. Commands nest.
HEADLESS_API KzApDocument* beginCommand(const std::u16string& name);
HEADLESS_API void endCommand(KzApDocument* document, const std::u16string& name);

// ---- messages and clock

struct Pumped {
    std::size_t dispatched = 0;
    std::size_t taken = 0; ///< how many of them a filter took
};

/// Dispatches queued messages until the queue is empty, also those that are posted meanwhile.
HEADLESS_API Pumped pump();

/// Shows a message of another queue, a real window's for example, to the filters. Whether one took it.
HEADLESS_API bool callFilters(const KzPlatform::Message& message);

/// What a script calls one turn of the message loop: "#idle" is reported for the current document, then
/// `pump`.
HEADLESS_API Pumped idle();

/// Queues a message to the main window, also while there is none to be had.
HEADLESS_API void post(std::uint32_t number, std::uintptr_t first, std::intptr_t second);

/// The tick count is virtual: it starts at 0 and moves only here, wrapping around.
[[nodiscard]] HEADLESS_API std::uint32_t ticks();
HEADLESS_API void setTicks(std::uint32_t value);
HEADLESS_API void advance(std::uint32_t milliseconds);

/// Whether keyboard or mouse input is waiting. At first it is not.
HEADLESS_API void setInputWaiting(bool isWaiting);

struct ShownBox {
    std::u16string text;
    KzPlatform::BoxStyle style = KzPlatform::BoxStyle::error;
};

/// The message boxes shown so far. They close immediately.
[[nodiscard]] HEADLESS_API const std::vector<ShownBox>& shownBoxes();

// ---- what is registered

/// The names of the registered services, ascending.
[[nodiscard]] HEADLESS_API std::vector<std::u16string> services();
[[nodiscard]] HEADLESS_API std::size_t filterCount();
[[nodiscard]] HEADLESS_API std::size_t managerReactorCount();
/// How many libraries modules have loaded by name and not given back.
[[nodiscard]] HEADLESS_API std::size_t loadedLibraryCount();

} // namespace Headless
