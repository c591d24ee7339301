#pragma once

#include "headless/export.h"
#include "host/status.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// Fault injection: makes host calls fail on demand, to test how modules handle it.
namespace Headless {

/// The host calls that can be made to fail. A failed call has no effect. It returns the given status if it
/// returns a status, otherwise null, 0 or false.
///
/// Not listed, because they cannot fail: queries of an id or a document, the tick count, the number of a
/// window message, and whether a command is active or input is waiting.
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
    once,      ///< only the selected call
    fromThenOn ///< the selected call and all later ones
};

/// Selects the n-th event of a series, alone or with all later ones.
class FaultCountdown {
public:
    /// `number` 1 is the next event.
    void begin(std::size_t number, FaultSpan span) {
        left_ = number;
        failed_ = 0;
        span_ = span;
    }
    /// Ends the selection. Returns how many events were selected since `begin`.
    std::size_t end() {
        left_ = 0;
        return failed_;
    }
    /// Must be called once for each event. Returns whether the event is selected.
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
    std::size_t left_ = 0; // events up to and including the selected one; 0: none is selected
    std::size_t failed_ = 0;
    FaultSpan span_ = FaultSpan::once;
};

/// Makes a later host call fail: the next one if `callNumber` is 1. If the call returns a status, it
/// returns `status`. Only calls of `kind` are counted and fail; without a kind, all calls. Replaces the
/// previous `failHostCall`. Operations of the host itself, including edits by "headless/edits.h", are not
/// counted and do not fail.
HEADLESS_API void failHostCall(std::optional<HostCall> kind, std::size_t callNumber, FaultSpan span,
                               Orvo::ErrorStatus status = Orvo::heldOpenForWrite);
/// Ends `failHostCall`. Returns how many calls have failed because of it.
HEADLESS_API std::size_t endFaults();
/// The last host calls in order, up to the one that failed last; for messages of tests.
[[nodiscard]] HEADLESS_API std::span<const std::optional<HostCall>> callsUpToFault();

/// Makes all calls of a kind fail (true) or ends this (false). Calls that fail by this are not counted by
/// `failHostCall`.
HEADLESS_API void refuse(HostCall kind, bool isRefused);

// ---- for the host itself

/// Must be called once in each host call. Returns whether the call fails.
[[nodiscard]] bool shouldFail(HostCall kind);
/// The status that failing calls return.
[[nodiscard]] Orvo::ErrorStatus faultStatus();
/// Ends the effect of `failHostCall` and `refuse`.
void resetFaults();

} // namespace Headless
