#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/watched_attributes.h"
#include "host/block_table.h"

#include <cstddef>
#include <cstdint>
#include <span>

class KzDbObjectReactor;

/// The objects that a node is registered with as a reactor: its records, its references and their attributes.
///
/// An object that another module holds open can be neither registered nor unregistered with. What could not
/// be unregistered is remembered and retried by `retryPending`, because a reactor must not be destroyed while
/// it is registered anywhere. An object that could not be registered with sends no notifications until the
/// next switching on. Registering can run out of memory, which `retryPending` makes up for; unregistering
/// does not allocate.
class KzDxRegistrations {
public:
    explicit KzDxRegistrations(KzDbObjectReactor& reactor) : reactor_(reactor) {}

    /// Registers with everything, first the references, then the records. `invalidObjectId` if the first
    /// record, which is the node's own, cannot be used; or the status of the first record that does not open,
    /// after which no further record is tried.
    Orvo::ErrorStatus registerAll(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Unregisters from everything, in the same order and with the same results, except that a first record
    /// that is not valid is not an error.
    Orvo::ErrorStatus unregisterAll(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Unregisters from everything that can be opened, whatever fails; the attributes of a reference that
    /// does not open stay registered with, as it does. Returns whether nothing failed.
    [[nodiscard]] bool tryUnregisterAll(const KzDbObjectIdArray& records,
                                        const KzDxContainers& containers) noexcept;
    /// Unregisters from all attributes that can be opened, before the node is deleted.
    void tryUnregisterAttributes() noexcept;

    // Registering with references in the opening in which they are read, while switched on.

    /// Registers with a reference that is open for notification and about to be stored, and its attributes.
    void registerReference(const KzDbBlockReference& reference, KzDbObjectId id);
    /// A reference could be read, but not registered with.
    void markUnregistered() { allReferencesRegistered_ = false; }

    /// Makes room to remember `count` more references, so that remembering them does not allocate.
    void reserveUnplaced(std::size_t count) { unplaced_.reserveMore(count); }
    /// Remembers a reference that may be registered with, but has no container.
    void addUnplaced(KzDbObjectId reference) { unplaced_.insert(reference); }
    /// Forgets those that have a container, and releases unused room.
    void dropPlaced(const KzDxContainers& containers) noexcept;
    /// Unregisters from a reference that is no longer reported.
    void unregisterReference(KzDbObjectId gone) noexcept;
    /// Remembers a reference that is still reported, but could not be read and has no container any more.
    void keepRegistered(KzDbObjectId unread);

    /// Goes on with what could not be done completely: registering when memory ran out, unregistering from
    /// objects that were held open, and from references that are no longer reported. References of `reported`
    /// that have no container stay registered while switched on, because they get one when they can be read.
    void retryPending(bool isEnabled, std::span<const KzDbObjectId> reported,
                      const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Whether `retryPending` has something to do.
    [[nodiscard]] bool hasPending() const { return state_ == State::pending || !unplaced_.isEmpty(); }
    /// Whether there is nothing to unregister from.
    [[nodiscard]] bool isEmpty() const { return state_ == State::none && unplaced_.isEmpty(); }
    /// Whether all references were registered with at the last switching on and since.
    [[nodiscard]] bool allReferencesRegistered() const { return allReferencesRegistered_; }
    /// How many records, from the first one, are registered with.
    [[nodiscard]] std::int32_t registeredRecords() const { return registeredRecords_; }

private:
    enum class State : std::uint8_t {
        none,     ///< registered with nothing but `unplaced_`
        complete, ///< with everything that could be opened
        pending,  ///< a switching was not completed
    };

    [[nodiscard]] Orvo::ErrorStatus registerRecords(const KzDbObjectIdArray& records);
    void openAndRegister(KzDbObjectId reference);
    void registerAttributes(const KzDbBlockReference& reference, KzDbObjectId id);
    [[nodiscard]] Orvo::ErrorStatus unregisterRecords(const KzDbObjectIdArray& records);
    [[nodiscard]] bool tryUnregister(KzDbObjectId reference) noexcept;
    [[nodiscard]] bool tryUnregisterReferences(const KzDxContainers& containers) noexcept;

    KzDbObjectReactor& reactor_;
    State state_ = State::none;
    bool allReferencesRegistered_ = true;
    std::int32_t registeredRecords_ = 0;
    KzDxWatchedAttributes attributes_;
    /// References without a container that the reactor may be registered with.
    KzDxIdSet unplaced_;
};
