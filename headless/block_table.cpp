#include "headless/block_table.h"

#include "headless/fault_gate.h"
#include "headless/record.h"

namespace Headless {

namespace {

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

} // namespace Headless
