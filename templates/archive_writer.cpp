#include "templates/archive_writer.h"

#include "templates/archive_format.h"

using namespace KzDxArchive;

// A value of all ones at a width is an escape there, so it needs the next width.
void KzDxArchiveWriter::count(std::uint64_t value) {
    if (value < escape16) return number(static_cast<std::uint16_t>(value));
    wideNumber(value);
}

// Always UTF-16, because the other form is limited to a code page.
void KzDxArchiveWriter::string(std::u16string_view text) {
    number(escape8);
    number(utf16Marker);
    stringLength(text.size());
    for (const char16_t unit : text) number(static_cast<std::uint16_t>(unit));
}

void KzDxArchiveWriter::bytes(std::string_view text) {
    const auto source = std::as_bytes(std::span(text));
    written_.insert(written_.end(), source.begin(), source.end());
}

// 65534 needs the long form, because its short form equals the marker of a UTF-16 string.
void KzDxArchiveWriter::stringLength(std::uint64_t length) {
    if (length < escape8) return number(static_cast<std::uint8_t>(length));
    number(escape8);
    if (length < utf16Marker) return number(static_cast<std::uint16_t>(length));
    wideNumber(length);
}

void KzDxArchiveWriter::wideNumber(std::uint64_t value) {
    number(escape16);
    if (value < escape32) return number(static_cast<std::uint32_t>(value));
    number(escape32);
    number(value);
}
