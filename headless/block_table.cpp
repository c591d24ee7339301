#include "headless/block_table.h"

#include "headless/fault_gate.h"
#include "headless/mistakes.h"
#include "headless/record.h"

namespace Headless {

namespace {

/// Iterator over the records that are not erased; at its end until it is started. A call with flags that no
/// module passes is a mistake, and moves it to its end.
///
/// It borrows the list of the table, which has to stay open, and keeps a position rather than a pointer into
/// the list: the list may grow, and be moved, between two steps. Records made meanwhile are walked as well.
class BlockTableIterator final : public KzDbBlockTableIterator {
public:
    explicit BlockTableIterator(const std::vector<KzDbObjectId>& records)
        : records_(records), at_(records.size()) {}

    void start(bool first, bool second) override {
        const bool isRight = isProvidedFor(first && second, "start of a block table's iterator with a false");
        at_ = isRight ? 0 : records_.size();
        passErased();
    }
    void step(bool first, bool second) override {
        const bool isRight = isProvidedFor(first && second, "step of a block table's iterator with a false");
        at_ = isRight && !done() ? at_ + 1 : records_.size();
        passErased();
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
    /// Afterwards it stands on a live record or at its end.
    void passErased() {
        while (!done() && records_[at_].isErased()) ++at_;
    }

    const std::vector<KzDbObjectId>& records_;
    std::size_t at_;
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

/// The model space is whichever record has its name, so any making and renaming may decide it anew.
void BlockTable::noteModelSpace() {
    modelSpace_ = named(modelSpaceName);
}

Orvo::ErrorStatus BlockTable::getAt(const char16_t* name, KzDbObjectId& id, bool flag) const {
    id = KzDbObjectId();
    if (!isProvidedFor(name != nullptr && !flag, "getAt without a name or with true")) {
        return Orvo::notProvidedFor;
    }
    if (FaultGate::strikes(HostCall::recordByName)) return FaultGate::status();
    const KzDbObjectId found = named(name);
    // An erased record keeps its name, but is not found by it.
    if (found.isNull() || found.isErased()) return Orvo::keyNotFound;
    id = found;
    return Orvo::ok;
}

Orvo::ErrorStatus BlockTable::newIterator(KzDbBlockTableIterator*& iterator, bool first, bool second) const {
    iterator = nullptr;
    if (!isProvidedFor(first && second, "newIterator with a false")) return Orvo::notProvidedFor;
    if (FaultGate::strikes(HostCall::tableIterator)) return FaultGate::status();
    iterator = new BlockTableIterator(records_);
    return Orvo::ok;
}

} // namespace Headless
