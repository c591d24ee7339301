#include "templates/eatt_util.h"

#include "zelvane/names.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cwchar>
#include <cwctype>
#include <utility>

namespace {

// The collation key of a name, computed once instead of at each comparison.
struct KeyedName {
    std::wstring key;
    std::size_t position;
};

// Converts to lower case by the locale, in wide characters of the C library: code points, or UTF-16 where
// they have 16 bits. Half a surrogate pair becomes U+FFFD.
std::wstring folded(std::u16string_view text) {
    std::wstring result;
    if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
        result.assign(text.begin(), text.end());
    } else {
        while (!text.empty()) result += static_cast<wchar_t>(Zelvane::detail::takeCodePoint(text));
    }
    for (wchar_t& c : result) c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
    return result;
}

std::wstring collationKey(const wchar_t* text) {
    const std::size_t size = std::wcsxfrm(nullptr, text, 0);
    if (size >= INT_MAX) return text; // the result on Windows if the locale cannot collate the text
    std::wstring key(size, L'\0');
    // The null that it writes after the key overwrites the string's own.
    std::wcsxfrm(key.data(), text, key.size() + 1);
    return key;
}

// Keys compare, unit by unit, as their names collate. The C library stops at a NUL, so each part between NULs
// gets its own key.
std::wstring collationKey(std::u16string_view name) {
    const std::wstring text = folded(name);
    std::wstring key = collationKey(text.c_str());
    for (auto nul = text.find(L'\0'); nul != std::wstring::npos; nul = text.find(L'\0', nul + 1)) {
        key += L'\0';
        key += collationKey(text.c_str() + nul + 1);
    }
    return key;
}

// Stops at the first pair in order: all pairs below it are in order since the previous rounds.
void sinkDown(std::vector<KeyedName>& names, std::size_t from, std::size_t gap) {
    for (std::size_t upper = from; upper >= gap; upper -= gap) {
        auto& low = names[upper - gap];
        auto& high = names[upper];
        if (!(high.key < low.key)) return;
        std::swap(low, high);
    }
}

} // namespace

std::vector<std::size_t> CEattUtil::sortedPositions(std::span<const std::u16string_view> names) {
    std::vector<KeyedName> keyed;
    keyed.reserve(names.size());
    for (const auto name : names) keyed.push_back({collationKey(name), keyed.size()});

    // Not std::sort: the order of names that collate equal is part of the file's content, and results from
    // exactly these steps.
    for (std::size_t gap = keyed.size() / 2; gap >= 1; gap /= 2) {
        for (std::size_t i = gap; i < keyed.size(); ++i) sinkDown(keyed, i, gap);
    }

    std::vector<std::size_t> positions(keyed.size());
    std::ranges::transform(keyed, positions.begin(), &KeyedName::position);
    return positions;
}

int CEattUtil::sortNames(std::vector<std::u16string>& names) {
    std::vector<std::u16string> sorted;
    sorted.reserve(names.size());
    const std::vector<std::u16string_view> views(names.begin(), names.end());
    for (const std::size_t position : sortedPositions(views)) sorted.push_back(std::move(names[position]));
    names = std::move(sorted);
    return 1;
}

int CEattUtil::collateNoCase(std::u16string_view a, std::u16string_view b) {
    return collationKey(a).compare(collationKey(b));
}
