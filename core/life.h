#pragma once

/// Tells calls under way whether the object that they work on is still there.
///
/// A callback may destroy anything, also the object in whose name it was called. An object that calls out
/// holds a `KzDxLife`; every operation of it that calls out keeps a `Watch` on its stack, and asks it after
/// each call, before it touches the object again. Watches are chained through the stack: nothing is
/// allocated, and the end of the object is told to every one of them, not only to the innermost.
class KzDxLife {
public:
    class Watch {
    public:
        explicit Watch(KzDxLife& life) : life_(&life), outer_(life.innermost_) { life.innermost_ = this; }
        ~Watch() {
            if (life_ != nullptr) life_->innermost_ = outer_;
        }
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

        /// Whether the object has been destroyed since the watch began.
        [[nodiscard]] bool isOver() const { return life_ == nullptr; }

    private:
        friend class KzDxLife;
        KzDxLife* life_;
        Watch* outer_;
    };

    KzDxLife() = default;
    KzDxLife(const KzDxLife&) = delete;
    KzDxLife& operator=(const KzDxLife&) = delete;
    ~KzDxLife() {
        for (Watch* watch = innermost_; watch != nullptr; watch = watch->outer_) watch->life_ = nullptr;
    }

private:
    Watch* innermost_ = nullptr;
};
