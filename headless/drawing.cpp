#include "headless/drawing.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "host/symbol_utilities.h"

namespace Headless {

namespace {

/// Iterator over the records that are not erased; at its end until it is started. A call with flags that no
/// module passes is a usage error and moves it to its end. Records that are created meanwhile are visited
/// too.
class BlockTableIterator final : public KzDbBlockTableIterator {
public:
    explicit BlockTableIterator(const std::vector<KzDbObjectId>& records) : position_(records) {
        position_.toEnd();
    }

    void start(bool first, bool second) override {
        const bool isRight = checkUsage(first && second, "start of a block table's iterator with a false");
        isRight ? position_.toStart() : position_.toEnd();
    }
    void step(bool first, bool second) override {
        const bool isRight = checkUsage(first && second, "step of a block table's iterator with a false");
        isRight ? position_.toNext() : position_.toEnd();
    }
    [[nodiscard]] bool done() const override { return position_.isAtEnd(); }

    Orvo::ErrorStatus getRecordId(KzDbObjectId& id) const override {
        id = KzDbObjectId();
        if (shouldFail(HostCall::recordId)) return faultStatus();
        id = position_.id();
        return id.isNull() ? Orvo::invalidObjectId : Orvo::ok;
    }

private:
    LivePosition position_;
};

} // namespace

KzDbObjectId BlockTable::named(std::u16string_view name) const {
    const auto found = byName_.find(std::u16string(name));
    return found != byName_.end() ? found->second : KzDbObjectId();
}

std::u16string BlockTable::nextAnonymousName() {
    std::u16string name;
    // The number goes up whatever comes of it, so a name is not given twice; the name itself may be taken all
    // the same, by a record that was made under it.
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
    // First under the old name: the record itself is all that still knows it.
    byName_.erase(record.name());
    record.setName(name);
    byName_.emplace(record.name(), record.id());
    noteModelSpace();
}

/// The model space is whichever record has its name, so every creation and renaming can change it.
void BlockTable::noteModelSpace() {
    modelSpace_ = named(modelSpaceName);
}

Orvo::ErrorStatus BlockTable::getAt(const char16_t* name, KzDbObjectId& id, bool flag) const {
    id = KzDbObjectId();
    if (!checkUsage(name != nullptr && !flag, "getAt without a name or with true")) {
        return Orvo::notProvidedFor;
    }
    if (shouldFail(HostCall::recordByName)) return faultStatus();
    const KzDbObjectId found = named(name);
    // An erased record keeps its name, but is not found by it.
    if (found.isNull() || found.isErased()) return Orvo::keyNotFound;
    id = found;
    return Orvo::ok;
}

Orvo::ErrorStatus BlockTable::newIterator(KzDbBlockTableIterator*& iterator, bool first, bool second) const {
    iterator = nullptr;
    if (!checkUsage(first && second, "newIterator with a false")) return Orvo::notProvidedFor;
    if (shouldFail(HostCall::tableIterator)) return faultStatus();
    iterator = new BlockTableIterator(records_);
    return Orvo::ok;
}

/// The block table is made first: its id is the lowest of the drawing, from which `forEachObject` starts.
Drawing::Drawing() : tableId_((new BlockTable(*this))->id()) {
    const Record::Origin layout{.isLayout = true};
    addRecord(modelSpaceName, layout);
    addRecord(u"*Paper_Space", layout);
}

/// Ends what `destroyObjects` has not seen: objects that were made while the others said goodbye.
Drawing::~Drawing() {
    forEachObject([](Object& object) { object.destroy(); });
}

Record& Drawing::addRecord(std::u16string_view name, const Record::Origin& origin) {
    auto* const record = new Record(*this, tableId_, name, origin);
    table()->add(*record);
    // The attached drawing knows its stand-ins, because it may close first.
    if (origin.attachedDrawing != nullptr) origin.attachedDrawing->xrefRecords_.push_back(record->id());
    return *record;
}

/// An object stays in memory while its reactors are told, whatever they do: it counts as open meanwhile.
void Drawing::destroyObjects() {
    forEachObject([](Object& object) {
        // Without a reactor nothing is told, and a trace is spared a line for each object.
        if (object.reactorCount() != 0) {
            object.notify("goodbye",
                          [&object](KzDbObjectReactor* reactor) { reactor->goodbye(object.hostObject()); });
        }
        object.destroy();
    });
    for (const KzDbObjectId id : xrefRecords_) {
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
        if (database == nullptr || Headless::shouldFail(Headless::HostCall::modelSpace)) return {};
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
