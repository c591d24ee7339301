#pragma once

#include "templates/archive_format.h"
#include "templates/byte_source.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>

/// The kinds of read failures.
enum class KzDxArchiveError {
    none,
    endsEarly,     ///< the bytes end inside a field
    readFailed,    ///< the source reported an error
    stringTooLong, ///< a string's length exceeds the rest of the file
    unknownSchema,
    unknownClass,
    noSuchClass,  ///< a tag refers to a class that was not defined
    noSuchObject, ///< a tag refers to an object that was not read
    outOfMemory,
};

/// A description of the failure.
[[nodiscard]] const char* kzdxDescribe(KzDxArchiveError error);

/// A failure, and where it occurred.
struct KzDxArchiveFailure {
    KzDxArchiveError error = KzDxArchiveError::none;
    std::uint64_t offset = 0; ///< of the field
    std::uint64_t entry = 0;  ///< the element of the list, from 1, nulls included; 0: before the list

    /// Whether there was a failure.
    explicit operator bool() const { return error != KzDxArchiveError::none; }
    bool operator==(const KzDxArchiveFailure&) const = default;
};

/// The full message: "entry 2, at byte 92: the file ends inside this field".
[[nodiscard]] std::string kzdxDescribe(const KzDxArchiveFailure& failure);

/// Reads the numbers and strings of an archive sequentially, through a buffer of 4096 bytes.
///
/// Every operation returns false on failure; after a failure nothing more may be read, which is asserted.
/// A result is meaningful only if true was returned. Memory is allocated for bytes that the source reports
/// to have, never for a claimed length.
class KzDxArchiveReader {
public:
    /// The source is not owned; it is read from its current position, the start.
    explicit KzDxArchiveReader(KzDxByteSource& source) : source_(source) {}

    [[nodiscard]] bool number(std::unsigned_integral auto& result);
    [[nodiscard]] bool number(std::int32_t& result);

    /// The count of a list: 16 bits, or more after an escape.
    [[nodiscard]] bool count(std::uint64_t& result);

    /// A string in either form.
    [[nodiscard]] bool string(std::u16string& result);

    /// Appends `size` raw bytes. For short, fixed texts.
    [[nodiscard]] bool bytes(std::string& result, std::size_t size);

    /// Starts the next element of the list, for the entry number of failures.
    void beginEntry() { ++entry_; }

    /// The offset of the next byte from the start of the source.
    [[nodiscard]] std::uint64_t offset() const { return consumed_ + at_; }

    /// Stores a failure. Returns false, for `return refuse(...)`.
    bool refuse(KzDxArchiveError error, std::uint64_t offset);

    [[nodiscard]] const KzDxArchiveFailure& failure() const { return failure_; }

private:
    /// The number of remaining bytes, by the size that the source reported.
    [[nodiscard]] std::uint64_t remaining() const;
    [[nodiscard]] std::size_t buffered() const { return end_ - at_; }
    [[nodiscard]] bool hold(std::size_t size);
    [[nodiscard]] bool stringLength(bool& isUtf16, std::uint64_t& length);
    [[nodiscard]] bool wideNumber(std::uint16_t start, std::uint64_t& result);
    [[nodiscard]] bool pass(std::uint64_t size, auto&& sink);

    KzDxByteSource& source_;
    KzDxArchiveFailure failure_;
    std::uint64_t entry_ = 0;
    std::uint64_t consumed_ = 0; // bytes before the buffer
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    std::array<std::byte, 4096> buffer_{};
};

bool KzDxArchiveReader::number(std::unsigned_integral auto& result) {
    if (!hold(sizeof result)) return false;
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < sizeof result; ++i)
        value |= std::to_integer<std::uint64_t>(buffer_[at_ + i]) << (8 * i);
    result = static_cast<std::remove_reference_t<decltype(result)>>(value);
    at_ += sizeof result;
    return true;
}
