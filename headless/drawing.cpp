#include "headless/drawing.h"

#include "headless/faults.h"
#include "headless/modules.h"
#include "host/symbol_utilities.h"

namespace Headless {

namespace {

/// Iterates over the records that are not erased, including records that are created meanwhile. At its end
/// until it is started. A call with other flags than modules pass is a usage error and moves the iterator
/// to its end.
class BlockTableIterator final : public KzDbBlockTableIterator {
public:
    explicit BlockTableIterator(const std::vector<KzDbObjectId>& records) : position_(records) {
        position_.toEnd();
    }

    void start(bool first, bool second) override {
        const bool isValid = checkUsage(first && second, "start of a block table iterator with false");
        isValid ? position_.toStart() : position_.toEnd();
    }
    void step(bool first, bool second) override {
        const bool isValid = checkUsage(first && second, "step of a block table iterator with false");
        isValid ? position_.toNext() : position_.toEnd();
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
    // The counter only increases, so a name is not returned twice. A record may have been created or
    // renamed under the name by the caller.
    do {
        const std::string number = std::to_string(++anonymousNames_);
        name = u"*U" + std::u16string(number.begin(), number.end());
    } while (byName_.contains(name));
    return name;
}

void BlockTable::add(const Record& record) {
    records_.push_back(record.id());
    byName_.emplace(record.name(), record.id());
    updateModelSpace();
}

void BlockTable::rename(Record& record, std::u16string_view name) {
    // The entry of the old name must be erased first, because the record still has that name.
    byName_.erase(record.name());
    record.setName(name);
    byName_.emplace(record.name(), record.id());
    updateModelSpace();
}

/// The model space is the record that has its name, so every creation and renaming can change it.
void BlockTable::updateModelSpace() {
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
    if (!checkUsage(first && second, "newIterator with false")) return Orvo::notProvidedFor;
    if (shouldFail(HostCall::tableIterator)) return faultStatus();
    iterator = new BlockTableIterator(records_);
    return Orvo::ok;
}

/// The block table must be created first: `forEachObject` starts at its id, the lowest of the drawing.
Drawing::Drawing() : tableId_((new BlockTable(*this))->id()) {
    const Record::Origin layout{.isLayout = true};
    addRecord(modelSpaceName, layout);
    addRecord(u"*Paper_Space", layout);
}

/// Destroys the objects that were created during `destroyObjects`.
Drawing::~Drawing() {
    forEachObject([](Object& object) { object.destroy(); });
}

Record& Drawing::addRecord(std::u16string_view name, const Record::Origin& origin) {
    auto* const record = new Record(*this, tableId_, name, origin);
    table()->add(*record);
    // The attached drawing keeps the ids of these records, because it may be closed first.
    if (origin.attachedDrawing != nullptr) origin.attachedDrawing->xrefRecords_.push_back(record->id());
    return *record;
}

/// An object stays in memory while its reactors are notified, because it counts as open meanwhile.
void Drawing::destroyObjects() {
    forEachObject([](Object& object) {
        // Without reactors there is no notification, so that a trace does not have a line for each object.
        if (object.reactorCount() != 0) {
            object.notify("goodbye",
                          [&object](KzDbObjectReactor* reactor) { reactor->goodbye(object.hostObject()); });
        }
        object.destroy();
    });
    for (const KzDbObjectId id : xrefRecords_) {
        // The record no longer exists if the drawing to which this one is attached was closed before.
        if (auto* const record = findAs<Record>(id)) record->forgetAttachedDrawing();
    }
}

} // namespace Headless

namespace {

/// Finds the model space of any drawing. Singleton.
class SymbolServices final : public KzDbSymbolUtilities::Services {
public:
    [[nodiscard]] KzDbObjectId modelSpaceRecordId(const KzDbDatabase* database) const override {
        if (database == nullptr || Headless::shouldFail(Headless::HostCall::modelSpace)) return {};
        // By id, because the block table may already be destroyed while the drawing is being closed.
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
