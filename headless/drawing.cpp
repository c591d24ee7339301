#include "headless/drawing.h"

#include "headless/fault_gate.h"
#include "host/symbol_utilities.h"

namespace Headless {

namespace {

constexpr std::u16string_view modelSpaceName = u"*Model_Space";
constexpr std::u16string_view paperSpaceName = u"*Paper_Space";

class BlockTableIterator final : public KzDbBlockTableIterator {
public:
    explicit BlockTableIterator(const std::vector<KzDbObjectId>& records) : records_(records) {}

    void start(bool atBeginning, bool skipErased) override {
        at_ = atBeginning ? 0 : records_.size() - 1;
        if (skipErased) passErased(atBeginning);
    }
    void step(bool forward, bool skipErased) override {
        if (done()) return;
        move(forward);
        if (skipErased) passErased(forward);
    }
    [[nodiscard]] bool done() const override { return at_ >= records_.size(); }

    Orvo::ErrorStatus getRecordId(KzDbObjectId& id) const override {
        id = KzDbObjectId();
        if (FaultGate::strikes(HostCall::recordId)) return FaultGate::status();
        if (done()) return Orvo::invalidObjectId;
        id = records_[at_];
        return Orvo::ok;
    }

private:
    // Stepping back from the first one wraps around to a position that counts as done.
    void move(bool forward) { forward ? ++at_ : --at_; }
    void passErased(bool forward) {
        while (!done() && records_[at_].isErased()) move(forward);
    }

    const std::vector<KzDbObjectId>& records_;
    std::size_t at_ = 0;
};

} // namespace

KzDbObjectId BlockTable::named(std::u16string_view name) const {
    const auto found = byName_.find(std::u16string(name));
    return found != byName_.end() ? found->second : KzDbObjectId();
}

std::u16string BlockTable::nextAnonymousName() {
    std::u16string name;
    do {
        const std::string number = std::to_string(++anonymousNames_);
        name = u"*U" + std::u16string(number.begin(), number.end());
    } while (byName_.contains(name));
    return name;
}

void BlockTable::add(const Record& record) {
    records_.push_back(record.id());
    byName_.emplace(record.name(), record.id());
    noteModelSpace();
}

void BlockTable::rename(Record& record, std::u16string_view name) {
    byName_.erase(record.name());
    record.setName(name);
    byName_.emplace(record.name(), record.id());
    noteModelSpace();
}

void BlockTable::noteModelSpace() {
    modelSpace_ = named(modelSpaceName);
}

Orvo::ErrorStatus BlockTable::getAt(const char16_t* name, KzDbObjectId& id, bool getErased) const {
    id = KzDbObjectId();
    if (FaultGate::strikes(HostCall::recordByName)) return FaultGate::status();
    if (name == nullptr) return Orvo::missingCollaborator;
    const KzDbObjectId found = named(name);
    if (found.isNull() || (found.isErased() && !getErased)) return Orvo::keyNotFound;
    id = found;
    return Orvo::ok;
}

Orvo::ErrorStatus BlockTable::newIterator(KzDbBlockTableIterator*& iterator, bool atBeginning,
                                          bool skipErased) const {
    iterator = nullptr;
    if (FaultGate::strikes(HostCall::tableIterator)) return FaultGate::status();
    iterator = new BlockTableIterator(records_);
    iterator->start(atBeginning, skipErased);
    return Orvo::ok;
}

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
        object.tell([&object](KzDbObjectReactor* reactor) { reactor->goodbye(object.face()); });
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
