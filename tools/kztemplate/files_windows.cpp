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
        // The system counts in 32 bits.
        const auto part = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 30U));
        DWORD count = 0;
        if (WriteFile(file, bytes.data(), part, &count, nullptr) == 0) return lastError();
        bytes = bytes.subspan(count);
    }
    return {};
}

// The whole path of the file that a link leads to. A file that cannot be opened, or is not there yet, is its
// own.
fs::path withoutLinks(const fs::path& file) {
    std::wstring name;
    constexpr DWORD everyone = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE opened = CreateFileW(file.c_str(), 0, everyone, nullptr, OPEN_EXISTING, 0, nullptr);
    if (opened != INVALID_HANDLE_VALUE) {
        name.resize(32768); // as long as paths get there
        name.resize(GetFinalPathNameByHandleW(opened, name.data(), static_cast<DWORD>(name.size()), 0));
        CloseHandle(opened);
    }
    return name.empty() ? fs::absolute(file) : fs::path(name);
}

// Scope guard, and the usual way to replace a file whole or not at all: a new file beside it, written to the
// end, takes its name. It has a short name of its own, because the target's may be as long as names get.
// Removed again unless it has taken the name.
class Replacement {
public:
    explicit Replacement(const fs::path& target) : target_(target) {
        // Another process may be doing the same; a name that is taken is passed over.
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
        // The bytes have to be on the disk before the name leads to them.
        if (FlushFileBuffers(file_) == 0) return lastError();
        close(); // an open file keeps its name
        if (!takeName()) return lastError();
        isMade_ = false;
        return {};
    }

private:
    void close() {
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
        file_ = INVALID_HANDLE_VALUE;
    }

    /// Whoever had rights to the old file has them to the new one.
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
    // So a pipe ends whose writer has gone: no failure.
    const bool isEndOfPipe = GetLastError() == ERROR_BROKEN_PIPE;
    return isEndOfPipe ? std::error_code{} : lastError();
}

std::error_code writeStandardOutput(std::span<const std::byte> bytes) {
    return writeAll(GetStdHandle(STD_OUTPUT_HANDLE), bytes);
}

std::error_code replaceFile(const fs::path& file, std::span<const std::byte> bytes) {
    return Replacement(withoutLinks(file)).write(bytes);
}
