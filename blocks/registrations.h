#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/watched_attributes.h"
#include "host/block_table.h"

#include <cstdint>
#include <span>

class KzDbObjectReactor;

/// What a node is registered on as a reactor: its records, its references and their attributes.
///
/// To join is to register, to leave is to unregister. Somebody may hold an object open, and then it can be
/// neither joined nor left. What could not be left is remembered and tried again by `settle`, for a reactor
/// must not be destroyed while it is registered anywhere. What could not be joined stays unheard until the
/// next switching on. Joining may run out of memory, which the next reading makes up for; leaving needs none.
class KzDxRegistrations {
public:
    explicit KzDxRegistrations(KzDbObjectReactor& reactor) : reactor_(reactor) {}

    /// Joins everything, first the references, then the records. `invalidObjectId` when the first record,
    /// which is the node's own, is of no use; or the status of the first record that does not open, after
    /// which no further record is tried.
    Orvo::ErrorStatus join(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Leaves everything, in the same order and with the same results, except that a first record that is not
    /// valid is no failure.
    Orvo::ErrorStatus leave(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Leaves everything that can be opened, whatever comes of the rest. Whether that was all.
    [[nodiscard]] bool leaveAll(const KzDbObjectIdArray& records, const KzDxContainers& containers) noexcept;

    // Joining references in the opening in which they are read, while switched on.

    /// For a node that comes to be switched on: its references are joined as they are read, its records
    /// after.
    void beginJoining() { state_ = State::joining; }
    /// Joins a reference that is open for notification and about to be filed.
    void joinReference(const KzDbBlockReference& reference, KzDbObjectId id);
    /// A reference could be read, but not joined.
    void missReference() { hearsReferences_ = false; }
    /// Joins the records, which completes a switching on. Results as for `join`.
    Orvo::ErrorStatus joinRecords(const KzDbObjectIdArray& records);

    /// Has room to remember `count` references more, without memory then.
    void makeRoomFor(std::size_t count) { strays_.makeRoomFor(count); }
    /// Remembers a reference that may have been joined, but is not filed.
    void addStray(KzDbObjectId reference) { strays_.insert(reference); }
    /// Forgets about those that are filed, and gives unused room back.
    void forgetFiled(const KzDxContainers& containers) noexcept;
    /// Leaves a reference that is no longer reported.
    void dropReference(KzDbObjectId gone) noexcept;
    /// Remembers a reference that is still reported, but could not be read and is filed no more.
    void suspendReference(KzDbObjectId unread);

    /// Goes on with what could not be done completely: switching on when memory ran out, switching off when
    /// somebody held an object open, leaving references that are gone. `reported` are the references of now:
    /// those of them that are not filed are waited for while switched on.
    void settle(bool isEnabled, std::span<const KzDbObjectId> reported, const KzDbObjectIdArray& records,
                const KzDxContainers& containers);

    /// Whether there is nothing for `settle` to do.
    [[nodiscard]] bool isSettled() const { return state_ != State::unsettled && strays_.isEmpty(); }
    /// Whether there is nothing to leave.
    [[nodiscard]] bool isEmpty() const { return state_ == State::none && strays_.isEmpty(); }
    /// Whether all references were joined at the last switching on and since.
    [[nodiscard]] bool hearsReferences() const { return hearsReferences_; }

private:
    enum class State : std::uint8_t {
        none,      ///< registered on nothing that is known
        joining,   ///< on the references that have been read; the records are to come
        joined,    ///< on everything that could be opened
        unsettled, ///< a switching was not completed
    };

    [[nodiscard]] Orvo::ErrorStatus joinEachRecord(const KzDbObjectIdArray& records);
    void openAndJoin(KzDbObjectId id);
    void joinAttributes(const KzDbBlockReference& reference, KzDbObjectId id);
    [[nodiscard]] Orvo::ErrorStatus leaveRecords(const KzDbObjectIdArray& records);
    [[nodiscard]] bool leaveReference(KzDbObjectId id) noexcept;
    [[nodiscard]] bool leaveReferences(const KzDxContainers& containers) noexcept;

    KzDbObjectReactor& reactor_;
    State state_ = State::none;
    bool hearsReferences_ = true;
    KzDxWatchedAttributes attributes_;
    /// References that the reactor may be registered on although they are not filed.
    KzDxIdSet strays_;
};
