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
/// next switching on. Joining may run out of memory, which `settle` makes up for as well; leaving needs none.
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

    /// Joins references that have been filed, while switched on. Throws with `isSettled` false.
    void joinReferences(std::span<const KzDbObjectId> arrived);

    /// Has room to remember `count` references more: that many can be taken out without memory.
    void makeRoomFor(std::size_t count) { strays_.makeRoomFor(count); }
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
        joined,    ///< on everything that could be opened
        unsettled, ///< a switching was not completed
    };

    [[nodiscard]] Orvo::ErrorStatus joinRecords(const KzDbObjectIdArray& records);
    void joinReference(KzDbObjectId id);
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
