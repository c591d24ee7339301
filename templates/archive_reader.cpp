#include "templates/archive_reader.h"

#include "templates/native_text.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <span>

using namespace KzDxArchive;

const char* kzdxDescribe(KzDxArchiveError error) {
    switch (error) {
    case KzDxArchiveError::none:
        return "no error";
    case KzDxArchiveError::endsEarly:
        return "the file ends inside this field";
    case KzDxArchiveError::readFailed:
        return "the file cannot be read from here on";
    case KzDxArchiveError::stringTooLong:
        return "the string is longer than the rest of the file";
    case KzDxArchiveError::unknownSchema:
        return "the schema of the class is not 1";
    case KzDxArchiveError::unknownClass:
        return "the class is not CEattBlockInfo";
    case KzDxArchiveError::noSuchClass:
        return "the tag refers to an undefined class";
    case KzDxArchiveError::noSuchObject:
        return "the tag refers to an object that was not read";
    case KzDxArchiveError::outOfMemory:
        return "out of memory";
    }
    return "unknown";
}

std::string kzdxDescribe(const KzDxArchiveFailure& failure) {
    const std::string entry = failure.entry == 0 ? "" : "entry " + std::to_string(failure.entry) + ", ";
    return entry + "at byte " + std::to_string(failure.offset) + ": " + kzdxDescribe(failure.error);
}

bool KzDxArchiveReader::number(std::int32_t& result) {
    std::uint32_t bits = 0;
    if (!number(bits)) return false;
    result = static_cast<std::int32_t>(bits);
    return true;
}

// Counts use escapes like lengths, but begin with 16 bits.
bool KzDxArchiveReader::count(std::uint64_t& result) {
    std::uint16_t short16 = 0;
    return number(short16) && wideNumber(short16, result);
}

bool KzDxArchiveReader::string(std::u16string& result) {
    assert(!failure_);
    // The start of the string: a failure about the length reports the field, not where it was noticed.
    const auto start = offset();
    bool isUtf16 = false;
    std::uint64_t length = 0;
    if (!stringLength(isUtf16, length)) return false;

    const std::uint64_t unitSize = isUtf16 ? sizeof(char16_t) : 1;
    // Division, because a product could overflow. Memory is allocated only for what the file can contain.
    if (length > remaining() / unitSize) return refuse(KzDxArchiveError::stringTooLong, start);
    if (!isUtf16) {
        std::string text;
        text.reserve(length);
        if (!bytes(text, length)) return false;
        result = kzdxFromSystemCodePage(text);
        return true;
    }

    result.resize(length);
    static_assert(std::endian::native == std::endian::little,
                  "UTF-16 is copied in the byte order of the file");
    auto* to = reinterpret_cast<std::byte*>(result.data());
    return pass(length * unitSize, [&to](auto part) {
        std::memcpy(to, part.data(), part.size());
        to += part.size();
    });
}

bool KzDxArchiveReader::bytes(std::string& result, std::size_t size) {
    return pass(size,
                [&](auto part) { result.append(reinterpret_cast<const char*>(part.data()), part.size()); });
}

bool KzDxArchiveReader::refuse(KzDxArchiveError error, std::uint64_t offset) {
    assert(!failure_);
    failure_ = {error, offset, entry_};
    return false;
}

// A file can grow after its size was queried: then more bytes were read than the size.
std::uint64_t KzDxArchiveReader::remaining() const {
    return std::max(source_.size(), offset()) - offset();
}

// Makes `size` contiguous bytes available in the buffer; consumes none if there are fewer.
bool KzDxArchiveReader::hold(std::size_t size) {
    assert(!failure_);
    assert(size <= buffer_.size());
    while (buffered() < size) {
        std::memmove(buffer_.data(), buffer_.data() + at_, buffered());
        consumed_ += at_;
        end_ -= at_;
        at_ = 0;
        // A source may return fewer bytes than requested; only 0 bytes mean its end.
        const auto count = source_.read(std::span(buffer_).subspan(end_));
        end_ += count;
        if (count != 0) continue;
        return refuse(source_.failed() ? KzDxArchiveError::readFailed : KzDxArchiveError::endsEarly,
                      offset());
    }
    return true;
}

// Reads the string header: the form, which is unchanged if it is not UTF-16, and the number of code units
// or bytes that follow.
bool KzDxArchiveReader::stringLength(bool& isUtf16, std::uint64_t& length) {
    std::uint8_t short8 = 0;
    std::uint16_t next = 0;
    if (!number(short8)) return false;
    length = short8;
    if (short8 < escape8) return true;
    if (!number(next)) return false;
    // There is no second marker: after the first one, its value is an ordinary length.
    if (isUtf16 || next != utf16Marker) return wideNumber(next, length);
    isUtf16 = true;
    return stringLength(isUtf16, length);
}

// A count or length whose first 16 bits were read. All ones at any width mean that a wider number
// follows.
bool KzDxArchiveReader::wideNumber(std::uint16_t start, std::uint64_t& result) {
    result = start;
    if (start < escape16) return true;
    std::uint32_t long32 = 0;
    if (!number(long32)) return false;
    result = long32;
    return long32 < escape32 || number(result);
}

// Passes the next `size` bytes to the sink, in parts of at most the buffer's size.
bool KzDxArchiveReader::pass(std::uint64_t size, auto&& sink) {
    while (size > 0) {
        if (!hold(1)) return false;
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, buffered()));
        sink(std::span<const std::byte>(buffer_).subspan(at_, count));
        at_ += count;
        size -= count;
    }
    return true;
}
