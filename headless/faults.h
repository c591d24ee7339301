#pragma once

#include "headless/export.h"
#include "host/status.h"

#include <cstddef>
#include <cstdint>

/// Lets host calls fail on demand, for tests of what a module does then.
namespace Headless {

/// The calls of a module that the host can refuse. Those that give a status give the one that was asked for;
/// the others give null, 0 or false. A call that fails has done nothing.
///
/// Calls without a failure are not among them: what an id or a document says about itself, the tick count,
/// the number of a window message, and whether a command runs or input waits.
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

/// Lets the n-th of the following host calls fail, `callNumber` 1 being the next; with `status` when it gives
/// one. What the host does on its own account, edits made through "headless/edits.h" among it, neither counts
/// nor fails.
HEADLESS_API void failHostCall(std::size_t callNumber, FaultSpan span,
                               Orvo::ErrorStatus status = Orvo::heldOpenForWrite);

/// The same counting calls of one kind only; all others succeed.
HEADLESS_API void failHostCall(HostCall kind, std::size_t callNumber, FaultSpan span,
                               Orvo::ErrorStatus status = Orvo::heldOpenForWrite);

/// Ends that. Gives how many calls have failed since `failHostCall`.
HEADLESS_API std::size_t endFaults();

} // namespace Headless
