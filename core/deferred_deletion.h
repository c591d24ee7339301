#pragma once

#include <utility>

/// Deferred deletion: an object that the host may still call is deleted when it has unregistered.
///
/// To unregister, a reactor must open each object that it is registered with. This may fail, for example
/// because another module holds an object open, and the host would still call the address of a deleted
/// reactor. So the deletion is pending until the reactor has unregistered, at the latest until the library
/// is unloaded. An object whose deletion is pending ignores notifications.
///
/// An intrusive list of the pending objects, because adding to it must not allocate.
class KzDxDeferredDeletion {
public:
    KzDxDeferredDeletion() = default;
    KzDxDeferredDeletion(const KzDxDeferredDeletion&) = delete;
    KzDxDeferredDeletion& operator=(const KzDxDeferredDeletion&) = delete;

    /// Deletes the object now, or in a later `retryAll`.
    static void deleteWhenUnregistered(KzDxDeferredDeletion* object) noexcept {
        if (!object->tryDelete(false)) object->next_ = std::exchange(pending_.first, object);
    }

    /// Retries all pending deletions. Called by every update, at load and at unload.
    static void retryAll() noexcept { pending_.retry(false); }

    /// Whether a deletion is pending.
    [[nodiscard]] static bool hasPending() noexcept { return pending_.first != nullptr; }

protected:
    virtual ~KzDxDeferredDeletion() = default;

    /// Unregisters from every object that can be opened. Returns true if all succeeded; called again until
    /// then.
    [[nodiscard]] virtual bool tryUnregister() noexcept = 0;

private:
    struct Pending {
        ~Pending() { retry(true); } // the library is unloaded: no reactor can be called any more
        void retry(bool isLastChance) noexcept {
            KzDxDeferredDeletion* each = std::exchange(first, nullptr);
            while (each != nullptr) {
                KzDxDeferredDeletion* const next = each->next_;
                if (!each->tryDelete(isLastChance)) each->next_ = std::exchange(first, each);
                each = next;
            }
        }

        KzDxDeferredDeletion* first = nullptr;
    };

    bool tryDelete(bool isLastChance) noexcept {
        if (!tryUnregister() && !isLastChance) return false;
        delete this;
        return true;
    }

    static Pending pending_;

    KzDxDeferredDeletion* next_ = nullptr;
};

inline KzDxDeferredDeletion::Pending KzDxDeferredDeletion::pending_;

/// Deleter of a `unique_ptr` whose object is deleted by deferred deletion.
struct KzDxDeferredDeleter {
    void operator()(KzDxDeferredDeletion* object) const noexcept {
        KzDxDeferredDeletion::deleteWhenUnregistered(object);
    }
};
