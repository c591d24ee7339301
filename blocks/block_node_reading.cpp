#include "blocks/block_graph.h"
#include "blocks/block_node.h"
#include "blocks/reference_reader.h"
#include "core/scope_guard.h"

#include <algorithm>
#include <cassert>
#include <span>
#include <utility>

/// How a reading differs from what was filed before. Lists ascend.
struct KzDxBlock::Differences {
    bool hasArrived = false;          ///< some reference is filed now, and was not before
    std::vector<KzDbObjectId> gone;   ///< filed before, and no longer reported
    std::vector<KzDbObjectId> unread; ///< filed before, and still reported, but without a place now

    Differences(const KzDxContainers& before, const KzDxContainers& now) {
        const std::span<const KzDbObjectId> old = before.references();
        const std::span<const KzDbObjectId> fresh = now.references();
        const auto wasFiled = [&](std::size_t at) { return before.numbers()[at] != KzDxContainers::nowhere; };
        const auto isFiled = [&](std::size_t at) { return now.numbers()[at] != KzDxContainers::nowhere; };
        std::size_t at = 0;
        for (std::size_t next = 0; next < fresh.size(); ++next) {
            for (; at < old.size() && old[at] < fresh[next]; ++at) {
                if (wasFiled(at)) gone.push_back(old[at]);
            }
            const bool isOld = at < old.size() && old[at] == fresh[next];
            const bool wasOldFiled = isOld && wasFiled(at);
            if (isFiled(next) && !wasOldFiled) hasArrived = true;
            if (!isFiled(next) && wasOldFiled) unread.push_back(fresh[next]);
            if (isOld) ++at;
        }
        for (; at < old.size(); ++at) {
            if (wasFiled(at)) gone.push_back(old[at]);
        }
    }
};

Orvo::ErrorStatus KzDxBlock::evaluate(KzDbObjectId record) {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    if (record.isNull()) return Orvo::invalidObjectId;
    listRecord(record);
    owner_->dropReader(); // what it knows about drawings may be of an earlier reading
    becomeStale();        // the graph's next update sees whether something has gone wrong
    return read();
}

Orvo::ErrorStatus KzDxBlock::refresh() {
    return evaluate(id_);
}

bool KzDxBlock::listRecord(KzDbObjectId record) {
    if (record == id_ || furtherRecords_.contains(record)) return false;
    // The look-up comes last: should memory run out before, the next call does it all again, and a record
    // that is listed twice counts once.
    owner_->addBlockAlias(record, this);
    recordIds_.append(record);
    furtherRecords_.insert(record);
    if (isEnabled()) owner_->recordIsUnheard(); // it is joined at the next switching on
    return true;
}

Orvo::ErrorStatus KzDxBlock::read() {
    if (owner_ == nullptr) return Orvo::missingCollaborator;
    const bool readsAll = readsAll_;
    KzDxReferenceReader& reader = owner_->reader();
    const Orvo::ErrorStatus status = reader.ask(recordIds_);
    if (status != Orvo::ok) return status;
    if (isEnabled()) registrations_.makeRoomFor(reader.reportedCount());
    KzDxScopeGuard remember([&] { rememberJoined(reader); });
    reader.place(containers_,
                 readsAll ? KzDxReferenceReader::Places::all : KzDxReferenceReader::Places::unknown,
                 isEnabled() ? &registrations_ : nullptr);
    hasTranslated_ = reader.hasTranslated() || (hasTranslated_ && !readsAll);
    if (reader.hasForeign()) owner_->nodeReportsElsewhere(*this);
    if (!reader.isAsFiled()) file(reader);
    remember.dismiss();
    registrations_.forgetFiled(containers_);
    registrations_.settle(isEnabled(), reader.references(), recordIds_, containers_);
    setNeedsScan(false);
    readsAll_ = isHardOfHearing();
    return Orvo::ok;
}

void KzDxBlock::file(const KzDxReferenceReader& reader) {
    KzDxContainers now = reader.containers();
    const Differences differences(containers_, now);
    registrations_.makeRoomFor(differences.gone.size() + differences.unread.size());

    // Nothing from here on can fail.
    const KzDxContainers before = std::exchange(containers_, std::move(now));
    markContainerChanges(before);
    if (differences.hasArrived || !differences.gone.empty()) setHasChanges(true);
    for (const KzDbObjectId reference : differences.gone) registrations_.dropReference(reference);
    for (const KzDbObjectId reference : differences.unread) registrations_.suspendReference(reference);
}

/// Memory has run out between joining references and filing them.
void KzDxBlock::rememberJoined(const KzDxReferenceReader& reader) {
    if (!isEnabled()) return;
    for (const KzDbObjectId reference : reader.references()) {
        if (!containers_.isFiled(reference)) registrations_.addStray(reference);
    }
}

/// Marks a change when a container appeared or lost its last reference.
void KzDxBlock::markContainerChanges(const KzDxContainers& before) {
    if (std::ranges::equal(before, containers_, {}, &KzDxContainers::Entry::container,
                           &KzDxContainers::Entry::container)) {
        return;
    }
    setHasChanges(true);
    owner_->containersChanged(*this, before);
}
