#pragma once

#include <utility>

/// Keeps an object alive that should be destroyed while the host may still call it.
///
/// To leave the host, an object has to be let in once more: a reactor opens what it is registered on, a
/// filter asks for its removal. The host may refuse, for example while somebody holds a drawing's object
/// open, and an object that is destroyed all the same would be called where it was. So it departs: it goes as
/// soon as it has left, at the latest with the library, and does nothing until then.
///
/// A class whose objects depart has a member of this type, a `bool leaveHost() noexcept`, which leaves what
/// can be left and says whether that was all, and this class as a friend. Nothing is allocated here: objects
/// must be able to go when memory has run out.
class KzDxDeparture {
public:
    KzDxDeparture() = default;
    KzDxDeparture(const KzDxDeparture&) = delete;
    KzDxDeparture& operator=(const KzDxDeparture&) = delete;

    /// Destroys `object`, the owner of this, now or at a later `retryAll`. It does nothing for anybody any
    /// more.
    template <class Object>
    void begin(Object* object) noexcept {
        object_ = object;
        go_ = [](void* departing, bool isLastChance) noexcept {
            auto* const it = static_cast<Object*>(departing);
            if (!it->leaveHost() && !isLastChance) return false;
            delete it;
            return true;
        };
        if (!go_(object, false)) next_ = std::exchange(waiting_.first, this);
    }

    /// Tries again for everybody who waits. Called by every scan of a block table, at load and at unload.
    static void retryAll() noexcept { waiting_.go(false); }

private:
    struct Waiting {
        ~Waiting() { go(true); } // the library goes: nobody can be called here any more
        void go(bool isLastChance) noexcept {
            KzDxDeparture* each = std::exchange(first, nullptr);
            while (each != nullptr) {
                KzDxDeparture* const next = each->next_;
                if (!each->go_(each->object_, isLastChance)) each->next_ = std::exchange(first, each);
                each = next;
            }
        }

        KzDxDeparture* first = nullptr;
    };
    static Waiting waiting_;

    void* object_ = nullptr;
    bool (*go_)(void* object, bool isLastChance) noexcept = nullptr;
    KzDxDeparture* next_ = nullptr;
};

inline KzDxDeparture::Waiting KzDxDeparture::waiting_;
