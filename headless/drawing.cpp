#include "headless/drawing.h"

#include "headless/fault_gate.h"
#include "host/symbol_utilities.h"

namespace Headless {

namespace {

constexpr std::u16string_view paperSpaceName = u"*Paper_Space";

} // namespace

/// The block table is made first: its id is the lowest of the drawing, from which `forEachObject` starts.
Drawing::Drawing() : tableId_((new BlockTable(*this))->id()) {
    const Record::Origin layout{.isLayout = true};
    addRecord(modelSpaceName, layout);
    addRecord(paperSpaceName, layout);
}

/// Ends what `takeLeave` has not seen: objects that were made while the others said goodbye.
Drawing::~Drawing() {
    forEachObject([](Object& object) { object.leaveMemory(); });
}

Record& Drawing::addRecord(std::u16string_view name, const Record::Origin& origin) {
    auto* const record = new Record(*this, tableId_, name, origin);
    table()->add(*record);
    // The attached drawing knows its stand-ins, because it may close first.
    if (origin.attachedDrawing != nullptr) origin.attachedDrawing->standIns_.push_back(record->id());
    return *record;
}

/// An object stays in memory while its reactors are told, whatever they do: it counts as open meanwhile.
void Drawing::takeLeave() {
    forEachObject([](Object& object) {
        // Without a reactor nothing is told, and a trace is spared a line for each object.
        if (object.reactorCount() != 0) {
            object.tell("goodbye",
                        [&object](KzDbObjectReactor* reactor) { reactor->goodbye(object.face()); });
        }
        object.leaveMemory();
    });
    for (const KzDbObjectId id : standIns_) {
        // It is gone when the drawing that attached this one was closed before.
        if (auto* const record = findAs<Record>(id)) record->forgetAttachedDrawing();
    }
}

} // namespace Headless

namespace {

/// Finds the model space of any drawing: one object for all.
class SymbolServices final : public KzDbSymbolUtilities::Services {
public:
    [[nodiscard]] KzDbObjectId modelSpaceRecordId(const KzDbDatabase* database) const override {
        if (database == nullptr || Headless::FaultGate::strikes(Headless::HostCall::modelSpace)) return {};
        // Through the table of all objects: the block table is gone while the drawing takes its leave.
        const auto* const table = Headless::findAs<Headless::BlockTable>(database->blockTableId());
        if (table == nullptr || table->modelSpace().isErased()) return {};
        return table->modelSpace();
    }
};

} // namespace

const KzDbSymbolUtilities::Services* KzDbSymbolUtilities::servicesPtr106() {
    static const SymbolServices& services = *new SymbolServices;
    return &services;
}
