#pragma once

#include "headless/export.h"
#include "host/status.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// Makes host calls fail on demand, for tests of what a module does then.
namespace Headless {

/// The calls of a module that can fail. Those that return a status return the one that was asked for; the
/// others return null, 0 or false. A call that fails has no effect.
///
/// Calls that cannot fail are not listed: queries of an id or a document, of the tick count, of the number of
/// a window message, and of whether a command runs or input is waiting.
enum class HostCall : std::uint8_t {
    // objects
    openObject,        ///< `kzdbOpenKzDbObject`
    recordByName,      ///< `KzDbBlockTable::getAt`
    tableIterator,     ///< `KzDbBlockTable::newIterator`
    recordId,          ///< `KzDbBlockTableIterator::getRecordId`
    recordName,        ///< `KzDbBlockTableRecord::getName`
    references,        ///< `KzDbBlockTableRecord::getBlockReferenceIds`
    erasedReferences,  ///< `KzDbBlockTableRecord::getErasedBlockReferenceIds`
    attachedDrawing,   ///< `KzDbBlockTableRecord::xrefDatabase`
    attributeIterator, ///< `KzDbBlockReference::attributeIterator`
    evaluationGraph,   ///< `KzDbEvalGraph::getGraph`
    protocol,          ///< `KzRxObject::queryX` and `KzRxClass::queryX`
    representations,   ///< `KzDbBlockRepresentation::getRepresentations`
    originalBlock,     ///< `KzDbBlockRepresentation::originalBlockTableRecord`
    modelSpace,        ///< `KzDbSymbolUtilities::Services::modelSpaceRecordId`
    // documents
    manager,          ///< `kzDocManagerPtr`
    documentIterator, ///< `KzApDocManager::newDocumentIterator`
    currentDocument,  ///< `KzApDocManager::currentDocument`
    drawing,          ///< `KzApDocument::database`
    // the message loop
    addFilter,    ///< `kzedRegisterFilterWinMsg`
    removeFilter, ///< `kzedRemoveFilterWinMsg`
    mainWindow,   ///< `KzPlatform::mainWindow`
    postMessage,  ///< `KzPlatform::postMessage`
    // loading and unloading
    loadLibrary,     ///< `KzPlatform::loadLibrary`
    registerService, ///< `kzrxRegisterService`
    declareMdiAware, ///< `kzrxRegisterAppMDIAware`
    registry,        ///< `kzrxSysRegistry`
    dictionaryEntry, ///< `KzRxDictionary::at`
    takeEntry,       ///< `KzRxDictionary::remove`
};

inline constexpr std::size_t hostCallKinds = static_cast<std::size_t>(HostCall::takeEntry) + 1;

enum class FaultSpan {
    once,   ///< that call alone
    onwards ///< that call and all that follow
};

/// Selects the n-th of a series of events, alone or with all that follow.
class FaultCountdown {
public:
    /// `number` 1 is the next event.
    void begin(std::size_t number, FaultSpan span) {
        left_ = number;
        failed_ = 0;
        span_ = span;
    }
    /// Selects no more. Returns how many events were selected since `begin`.
    std::size_t end() {
        left_ = 0;
        return failed_;
    }
    /// Called at each event: whether the event is selected.
    [[nodiscard]] bool shouldFail() {
        if (left_ == 0) return false;
        if (left_ > 1) {
            --left_;
            return false;
        }
        if (span_ == FaultSpan::once) left_ = 0;
        ++failed_;
        return true;
    }

private:
    std::size_t left_ = 0; // up to the selected event, which is 1; 0: there is none
    std::size_t failed_ = 0;
    FaultSpan span_ = FaultSpan::once;
};

/// Makes the n-th of the following host calls fail, `callNumber` 1 being the next; with `status` if it
/// returns one. Counts calls of one kind only, all others succeed; without a kind all count. Replaces the
/// demand before it. What the host does on its own account, also edits made by "headless/edits.h", neither
/// counts nor fails.
HEADLESS_API void failHostCall(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                               Orvo::ErrorStatus status = Orvo::heldOpenForWrite);
/// Ends `failHostCall`. Returns how many calls have failed because of it.
HEADLESS_API std::size_t endFaults();
/// The last host calls up to the one that failed last, in order; for messages of tests.
[[nodiscard]] HEADLESS_API std::span<const std::optional<HostCall>> callsUpToFault();

/// Makes all calls of a kind fail until that is ended by false. They are not counted by `failHostCall`.
HEADLESS_API void refuse(HostCall kind, bool isRefused);

// ---- for the host itself

/// Called once in each host call: whether the call fails.
[[nodiscard]] bool shouldFail(HostCall kind);
/// The status that failing calls return.
[[nodiscard]] Orvo::ErrorStatus faultStatus();
/// Ends all of the above.
void resetFaults();

} // namespace Headless
