#include "templates/native_text.h"

#include <windows.h>

#include <climits>
#include <new>

namespace {

// The code page of the system, because a program may override its own (kztemplate uses UTF-8): the files that
// it reads were written by other programs. 0 if the system's locale has none.
UINT systemCodePage() {
    DWORD page = 0;
    GetLocaleInfoW(LOCALE_SYSTEM_DEFAULT, LOCALE_IDEFAULTANSICODEPAGE | LOCALE_RETURN_NUMBER,
                   reinterpret_cast<LPWSTR>(&page), sizeof page / sizeof(WCHAR));
    return page == 0 ? CP_ACP : page;
}

} // namespace

// File names are UTF-16 on Windows, where an unpaired surrogate is valid: nothing is converted.
std::filesystem::path kzdxNativePath(const std::u16string& path) {
    return std::wstring(path.begin(), path.end());
}

std::u16string kzdxFromSystemCodePage(std::string_view bytes) {
    if (bytes.empty()) return {};
    if (bytes.size() > INT_MAX) throw std::bad_alloc();
    const UINT page = systemCodePage();
    const int length = static_cast<int>(bytes.size());
    std::wstring text(bytes.size(), L'\0'); // no code page gives more code units than bytes
    text.resize(static_cast<std::size_t>(
        MultiByteToWideChar(page, 0, bytes.data(), length, text.data(), static_cast<int>(text.size()))));
    return {text.begin(), text.end()};
}
