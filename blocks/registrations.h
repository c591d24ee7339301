#pragma once

#include "blocks/containers.h"
#include "blocks/id_set.h"
#include "blocks/watched_attributes.h"
#include "host/block_table.h"

#include <cassert>
#include <cstddef>
#include <cstdint>

class KzDbObjectReactor;

/// The objects that a node is registered with as a reactor: its records, its references and their
/// attributes. Part of the node.
///
/// If another module holds an object open, the node can neither register with it nor unregister. A failed
/// unregistration is retried by `retryPending`, because a reactor must not be destroyed while it is
/// registered anywhere. After a failed registration, the object sends no notifications until the next
/// switching on. If memory runs out while registering, `retryPending` completes the operation;
/// unregistering does not allocate.
class KzDxRegistrations {
public:
    explicit KzDxRegistrations(KzDbObjectReactor& reactor) : reactor_(reactor) {}

    /// Registers with everything, first the references, then the records. `invalidObjectId` if the first
    /// record, which is the node's own, is invalid or erased; or the status of the first record that cannot
    /// be opened, after which no other record is tried.
    Orvo::ErrorStatus registerAll(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Unregisters from everything, in the same order and with the same results, except that an invalid
    /// first record is not an error.
    Orvo::ErrorStatus unregisterAll(const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Unregisters from everything that can be opened; failures do not end the operation. If a reference
    /// cannot be opened, it and its attributes stay registered. Returns whether all succeeded.
    [[nodiscard]] bool tryUnregisterAll(const KzDbObjectIdArray& records,
                                        const KzDxContainers& containers) noexcept;
    /// Unregisters from all attributes that can be opened, before the node is deleted.
    void tryUnregisterAttributes() noexcept;

    // Registering with references while they are open for reading, while switched on.

    /// Registers with a reference, which is open for notification and will be stored, and with its
    /// attributes.
    void registerReference(const KzDbBlockReference& reference, KzDbObjectId id);
    /// Called if a reference could be read, but not opened for notification.
    void markUnregistered() { allReferencesRegistered_ = false; }

    /// Reserves memory for `count` more unplaced references, so that adding them does not allocate.
    void reserveUnplaced(std::size_t count) { unplaced_.reserveMore(count); }
    /// Adds a reference that may be registered but has no container, unless there are no registrations.
    void addUnplaced(KzDbObjectId reference) noexcept;
    /// Unregisters from a reference that is no longer reported.
    void unregisterReference(KzDbObjectId gone) noexcept;

    /// Called after a reading. Retries what could not be completed: registering if memory ran out,
    /// unregistering from objects that were held open, and unregistering from references that are no longer
    /// reported. While switched on, reported references without a container stay registered, because they
    /// get one when they can be read.
    void retryPending(bool isEnabled, const KzDbObjectIdArray& records, const KzDxContainers& containers);

    /// Whether `retryPending` has an effect.
    [[nodiscard]] bool hasPending() const { return state_ == State::pending || !unplaced_.isEmpty(); }
    /// Whether there are no registrations.
    [[nodiscard]] bool isEmpty() const {
        assert(state_ != State::none || unplaced_.isEmpty());
        return state_ == State::none;
    }
    /// Whether all registrations with references have succeeded since the last switching on.
    [[nodiscard]] bool allReferencesRegistered() const { return allReferencesRegistered_; }
    /// The number of records, from the first one, that the last switching on registered with.
    [[nodiscard]] std::int32_t registeredRecords() const { return registeredRecords_; }

private:
    enum class State : std::uint8_t {
        none,     ///< nothing is registered
        complete, ///< everything that could be opened is registered
        pending,  ///< switching on or off was not completed
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
    /// References without a container that may be registered.
    KzDxIdSet unplaced_;
};
