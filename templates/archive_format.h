#pragma once

#include <cstdint>
#include <string_view>

/// Constants of the template archive format, shared by its reader and its writer.
///
/// A template file; all numbers are little-endian, without padding:
///
///     u32 header value
///     count N of elements        u16, or u16 FFFF + u32, or u16 FFFF + u32 FFFFFFFF + u64
///     N elements                 each begins with a u16 tag:
///       0000                     null element
///       0001 .. 7FFE             reference to the object with that index
///       7FFF + u32 V             long tag; with bit 31: a new object of class V - 80000000, its body
///       follows;
///                                otherwise a reference to the object with index V; V 0: null element
///       8001 .. FFFE             a new object of the class with index tag - 8000, its body follows
///       FFFF                     u16 schema, u16 length, class name; then the body of a new object
///
///     body:   string block name, i32 block flag, i32 M, M times (string attribute name, i32 attribute flag)
///     string: FF FE FF, length, UTF-16 code units; or length, bytes in the system's code page
///     length: u8, or u8 FF + u16, or u8 FF + u16 FFFF + u32, or u8 FF + u16 FFFF + u32 FFFFFFFF + u64
///
/// Classes and objects share one sequence of indices that starts at 1; index 0 means null. A class
/// definition gets its index before the object that follows it.
namespace KzDxArchive {

inline constexpr std::uint16_t nullTag = 0x0000;
inline constexpr std::uint16_t longTag = 0x7FFF;
inline constexpr std::uint16_t classTag = 0x8000; ///< added to a class index
inline constexpr std::uint16_t newClassTag = 0xFFFF;
inline constexpr std::uint32_t longClassTag = 0x80000000; ///< added to a class index in a long tag

inline constexpr std::string_view blockClassName = "CEattBlockInfo";
inline constexpr std::uint16_t blockClassSchema = 1;

inline constexpr std::uint8_t escape8 = 0xFF; ///< a longer number follows; also for the next two
inline constexpr std::uint16_t escape16 = 0xFFFF;
inline constexpr std::uint32_t escape32 = 0xFFFFFFFF;
inline constexpr std::uint16_t utf16Marker = 0xFFFE; ///< after an escape8, at the start of a string only

} // namespace KzDxArchive
