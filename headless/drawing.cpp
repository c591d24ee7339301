#include "headless/drawing.h"

#include "headless/fault_gate.h"
#include "host/symbol_utilities.h"

namespace Headless {

namespace {

constexpr std::u16string_view paperSpaceName = u"*Paper_Space";

} // namespace

Drawing::Drawing() : tableId_((new BlockTable(*this))->id()) {
    const Record::Origin layout{.isLayout = true};
    addRecord(modelSpaceName, layout);
    addRecord(paperSpaceName, layout);
}

Drawing::~Drawing() {
    forEachObject([](Object& object) { object.leaveMemory(); });
}

Record& Drawing::addRecord(std::u16string_view name, const Record::Origin& origin) {
    auto* const record = new Record(*this, tableId_, name, origin);
    table()->add(*record);
    if (origin.attachedDrawing != nullptr) origin.attachedDrawing->standIns_.push_back(record->id());
    return *record;
}

void Drawing::takeLeave() {
    forEachObject([](Object& object) {
        if (object.reactorCount() != 0) {
            object.tell("goodbye",
                        [&object](KzDbObjectReactor* reactor) { reactor->goodbye(object.face()); });
        }
        object.leaveMemory();
    });
    for (const KzDbObjectId id : standIns_) {
        if (auto* const record = findAs<Record>(id)) record->forgetAttachedDrawing();
    }
}

} // namespace Headless

namespace {

class SymbolServices final : public KzDbSymbolUtilities::Services {
public:
    [[nodiscard]] KzDbObjectId modelSpaceRecordId(const KzDbDatabase* database) const override {
        if (database == nullptr || Headless::FaultGate::strikes(Headless::HostCall::modelSpace)) return {};
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
