#include "tools/kztemplate/system_files.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <string_view>

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code writeAll(HANDLE file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        // The system uses 32-bit sizes.
        const auto part = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 30U));
        DWORD count = 0;
        if (WriteFile(file, bytes.data(), part, &count, nullptr) == 0) return lastError();
        bytes = bytes.subspan(count);
    }
    return {};
}

// The full path of the target of a link. If the file cannot be opened or does not exist, its own path.
fs::path withoutLinks(const fs::path& file) {
    std::wstring name;
    constexpr DWORD everyone = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE opened = CreateFileW(file.c_str(), 0, everyone, nullptr, OPEN_EXISTING, 0, nullptr);
    if (opened != INVALID_HANDLE_VALUE) {
        name.resize(32768); // the maximum length of paths on Windows
        name.resize(GetFinalPathNameByHandleW(opened, name.data(), static_cast<DWORD>(name.size()), 0));
        CloseHandle(opened);
    }
    return name.empty() ? fs::absolute(file) : fs::path(name);
}

// Scope guard for atomic replacement of a file: a new file in the same folder is written completely, then
// renamed. It has a short name, because the name of the target may have the maximum length. Removed again
// unless it was renamed.
class Replacement {
public:
    explicit Replacement(const fs::path& target) : target_(target) {
        // Another process may do the same; existing names are skipped.
        DWORD number = GetCurrentProcessId();
        do {
            name_ = target.parent_path() / (L".kztemplate." + std::to_wstring(number++));
            file_ = CreateFileW(name_.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                                nullptr);
        } while (file_ == INVALID_HANDLE_VALUE && GetLastError() == ERROR_FILE_EXISTS);
        isMade_ = file_ != INVALID_HANDLE_VALUE;
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        close();
        if (isMade_) DeleteFileW(name_.c_str());
    }

    [[nodiscard]] std::error_code write(std::span<const std::byte> bytes) {
        if (!isMade_) return lastError();
        if (auto error = writeAll(file_, bytes)) return error;
        // The bytes must be on the disk before the file is renamed.
        if (FlushFileBuffers(file_) == 0) return lastError();
        close(); // an open file cannot be renamed
        if (!takeName()) return lastError();
        isMade_ = false;
        return {};
    }

private:
    void close() {
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
        file_ = INVALID_HANDLE_VALUE;
    }

    /// Renames the new file. An existing target keeps its permissions.
    [[nodiscard]] bool takeName() const {
        if (ReplaceFileW(target_.c_str(), name_.c_str(), nullptr, 0, nullptr, nullptr) != 0) return true;
        if (GetLastError() != ERROR_FILE_NOT_FOUND) return false;
        return MoveFileExW(name_.c_str(), target_.c_str(), MOVEFILE_WRITE_THROUGH) != 0;
    }

    fs::path target_;
    fs::path name_;
    HANDLE file_ = INVALID_HANDLE_VALUE;
    bool isMade_ = false;
};

} // namespace

std::error_code readStandardInput(std::string& result) {
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    std::array<char, 65536> part{};
    for (DWORD count = 0; ReadFile(input, part.data(), part.size(), &count, nullptr) != 0;) {
        if (count == 0) return {};
        result.append(part.data(), count);
    }
    // The end of a pipe whose writer has closed it: not an error.
    const bool isEndOfPipe = GetLastError() == ERROR_BROKEN_PIPE;
    return isEndOfPipe ? std::error_code{} : lastError();
}

std::error_code writeStandardOutput(std::span<const std::byte> bytes) {
    return writeAll(GetStdHandle(STD_OUTPUT_HANDLE), bytes);
}

std::error_code replaceFile(const fs::path& file, std::span<const std::byte> bytes) {
    return Replacement(withoutLinks(file)).write(bytes);
}
