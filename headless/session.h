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

/// The state of the host: documents, message queue, clock and commands. Not thread-safe. Every function may
/// be called from a notification, a filter or a client callback, except `reset`. Documents may be null,
/// closed or invalid addresses; addresses are compared, not dereferenced. The address of a closed document
/// is not reused.
namespace Headless {

/// Resets the host to its initial state: unloads modules, closes documents and objects that are held open,
/// and removes the remaining reactors, filters, services and messages, the faults, and the usage errors
/// that were reported before. Ids and document addresses are still not reused. Must not be called from a
/// callback.
HEADLESS_API void reset();

// ---- documents

/// Opens a document and makes it current. Its drawing has the layout records "*Model_Space" and
/// "*Paper_Space", in this order. Reactors of the document manager may close the document before this
/// returns.
HEADLESS_API KzApDocument* openDocument(std::u16string_view name, bool withDrawing = true);

/// Closes a document. False if the document is not open, is being closed already, or is being edited.
HEADLESS_API bool closeDocument(KzApDocument* document);

/// The open documents in the order of opening, including unlisted ones.
[[nodiscard]] HEADLESS_API std::vector<KzApDocument*> documents();
[[nodiscard]] HEADLESS_API bool isOpen(const KzApDocument* document);
/// The name of an open document; empty for any other.
[[nodiscard]] HEADLESS_API std::u16string documentName(const KzApDocument* document);

/// The current document, also while `kzDocManagerPtr` fails; null if no document is open.
[[nodiscard]] HEADLESS_API KzApDocument* currentDocument();
/// Makes a document current. False if the document is not open.
HEADLESS_API bool makeCurrent(KzApDocument* document);

/// What modules can query about a document.
struct DocumentState {
    bool isReady = true;          ///< `KzApDocument::isReady`
    std::int32_t busy = 0;        ///< `KzApDocManager::busy`
    KzAp::DocLockMode lockMode{}; ///< 0 at first
    bool isListed = true;         ///< whether the document iterator visits the document
};

/// The state of an open document, which may be modified. For any other document, an unused default state.
[[nodiscard]] HEADLESS_API DocumentState& documentState(const KzApDocument* document);

// ---- commands

/// Notifies the document manager's reactors of one lock-mode change. `command` may be null.
HEADLESS_API void reportLockMode(KzApDocument* document, const char16_t* command);

/// Begins a command on the current document: reports a lock-mode change for `name` and makes a command
/// active until the matching `endCommand`, which reports a lock-mode change for "#" + name. Returns the
/// document; if no document is open, returns null and has no effect. Commands nest.
HEADLESS_API KzApDocument* beginCommand(const std::u16string& name);
HEADLESS_API void endCommand(KzApDocument* document, const std::u16string& name);

// ---- messages and clock

struct PumpResult {
    std::size_t dispatched = 0;
    std::size_t taken = 0; ///< messages that a filter took
};

/// Dispatches queued messages until the queue is empty, including messages that are posted meanwhile.
HEADLESS_API PumpResult pump();

/// Calls the filters for a message, for example of a real window's queue. Returns whether a filter took it.
HEADLESS_API bool callFilters(const KzPlatform::Message& message);

/// Makes the host idle: reports a lock-mode change for "#idle" of the current document, then calls `pump`.
HEADLESS_API PumpResult idle();

/// Queues a message to the main window, also while `mainWindow` fails.
HEADLESS_API void post(std::uint32_t number, std::uintptr_t first, std::intptr_t second);

/// The tick count in milliseconds. It is virtual: it starts at 0 and only changes by the functions below,
/// with wrap-around.
[[nodiscard]] HEADLESS_API std::uint32_t ticks();
HEADLESS_API void setTicks(std::uint32_t value);
HEADLESS_API void advance(std::uint32_t milliseconds);

/// Sets whether keyboard or mouse input is waiting; initially false.
HEADLESS_API void setInputWaiting(bool isWaiting);

struct ShownBox {
    std::u16string text;
    KzPlatform::BoxStyle style = KzPlatform::BoxStyle::error;
};

/// The message boxes shown so far.
[[nodiscard]] HEADLESS_API const std::vector<ShownBox>& shownBoxes();

// ---- what is registered

/// The names of the registered services, in ascending order.
[[nodiscard]] HEADLESS_API std::vector<std::u16string> services();
[[nodiscard]] HEADLESS_API std::size_t filterCount();
[[nodiscard]] HEADLESS_API std::size_t managerReactorCount();
/// The number of libraries that modules have loaded by name and not freed.
[[nodiscard]] HEADLESS_API std::size_t loadedLibraryCount();

} // namespace Headless
