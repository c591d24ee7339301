#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// Writes the numbers and strings of an archive to memory, each in its shortest form.
class KzDxArchiveWriter {
public:
    void number(std::unsigned_integral auto value);
    void number(std::int32_t value) { number(static_cast<std::uint32_t>(value)); }

    /// The count of a list.
    void count(std::uint64_t value);

    /// A string in UTF-16 form.
    void string(std::u16string_view text);

    /// The raw text, without a length.
    void bytes(std::string_view text);

    /// Everything written so far; valid until the next write.
    [[nodiscard]] std::span<const std::byte> written() const { return written_; }

private:
    void stringLength(std::uint64_t length);
    /// A count or a length of more than 16 bits.
    void wideNumber(std::uint64_t value);

    std::vector<std::byte> written_;
};

void KzDxArchiveWriter::number(std::unsigned_integral auto value) {
    for (std::size_t i = 0; i < sizeof value; ++i)
        written_.push_back(static_cast<std::byte>(static_cast<std::uint64_t>(value) >> (8 * i)));
}
