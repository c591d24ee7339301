#pragma once

#include "headless/drawing.h"
#include "host/documents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Headless {

/// An open document. Its memory outlives it: modules know documents by address, so an address must not come
/// back with another document.
class Document final : public KzApDocument {
public:
    Document(std::u16string_view name, bool withDrawing) : name_(name) {
        if (withDrawing) drawing_.emplace();
    }

    [[nodiscard]] const std::u16string& name() const { return name_; }
    [[nodiscard]] Drawing* drawing() { return drawing_.has_value() ? &*drawing_ : nullptr; }

    /// Gives back what the document holds. From now on only its address means something, and the address
    /// sanitizer reports whoever looks behind it.
    void bury();

    bool readiness = true;
    bool isListed = true;
    bool isClosing = false;
    std::int32_t busyness = 0;
    KzAp::DocLockMode lock{};

    // What modules see.
    [[nodiscard]] KzDbDatabase* database() const override;
    [[nodiscard]] bool isReady() const override { return readiness; }
    [[nodiscard]] KzAp::DocLockMode lockMode(bool flag) const override;

private:
    std::u16string name_;
    std::optional<Drawing> drawing_;
};

} // namespace Headless
