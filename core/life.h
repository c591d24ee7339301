#pragma once

/// Detects the destruction of an object during a call that it made.
///
/// A callback may destroy any object, including its caller. An object that calls out has a `KzDxLife`; each
/// of its operations that calls out has a `Watch` on the stack and checks it after each call, before it
/// uses the object again. Watches are a linked list on the stack, so they do not allocate, and the
/// destruction is recorded in all of them, not only in the innermost.
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
