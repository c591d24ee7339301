#pragma once

/// Detects the destruction of an object during a call that it made.
///
/// A callback may destroy anything, including the object that called it. An object that calls out has a
/// `KzDxLife`; each of its operations that calls out keeps a `Watch` on the stack, and asks it after each
/// call, before it uses the object again. Watches are chained through the stack: nothing is allocated, and
/// all of them are informed of the destruction, not only the innermost.
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

        /// Whether the object has been destroyed since the watch was created.
        [[nodiscard]] bool isDestroyed() const { return life_ == nullptr; }

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
