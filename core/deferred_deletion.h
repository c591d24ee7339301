#pragma once

#include <utility>

/// Deferred deletion: the host may still call the object, so it lives until it has unregistered.
///
/// To leave the host, an object must be let in once more: a reactor opens what it is registered on. The host
/// may refuse, for example while somebody holds an object of the drawing open, and an object that was
/// destroyed all the same would be called where it was. So it is deleted as soon as it has left, at the
/// latest with the library, and works for nobody until then.
///
/// The list of those who wait runs through the objects themselves: they must be able to go when memory has
/// run out.
class KzDxDeferredDeletion {
public:
    KzDxDeferredDeletion() = default;
    KzDxDeferredDeletion(const KzDxDeferredDeletion&) = delete;
    KzDxDeferredDeletion& operator=(const KzDxDeferredDeletion&) = delete;

    /// Deletes the object now, or at a later `retryAll`.
    static void begin(KzDxDeferredDeletion* object) noexcept {
        if (!object->goes(false)) object->next_ = std::exchange(waiting_.first, object);
    }

    /// Tries again for every object that waits. Called by every update, at load and at unload.
    static void retryAll() noexcept { waiting_.retry(false); }

    /// Whether some object waits.
    [[nodiscard]] static bool isAnyWaiting() noexcept { return waiting_.first != nullptr; }

protected:
    virtual ~KzDxDeferredDeletion() = default;

    /// Unregisters from everything that lets the object in. Whether that was all; asked again until it was.
    [[nodiscard]] virtual bool leaveHost() noexcept = 0;

private:
    struct Waiting {
        ~Waiting() { retry(true); } // the library goes: nobody can be called here any more
        void retry(bool isLastChance) noexcept {
            KzDxDeferredDeletion* each = std::exchange(first, nullptr);
            while (each != nullptr) {
                KzDxDeferredDeletion* const next = each->next_;
                if (!each->goes(isLastChance)) each->next_ = std::exchange(first, each);
                each = next;
            }
        }

        KzDxDeferredDeletion* first = nullptr;
    };

    bool goes(bool isLastChance) noexcept {
        if (!leaveHost() && !isLastChance) return false;
        delete this;
        return true;
    }

    static Waiting waiting_;

    KzDxDeferredDeletion* next_ = nullptr;
};

inline KzDxDeferredDeletion::Waiting KzDxDeferredDeletion::waiting_;

/// Makes a `unique_ptr` part with an object by deferred deletion.
struct KzDxDeferredDeleter {
    void operator()(KzDxDeferredDeletion* object) const noexcept { KzDxDeferredDeletion::begin(object); }
};
