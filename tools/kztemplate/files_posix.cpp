#include "tools/kztemplate/system_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// The system may write a part, or be interrupted by a signal before it writes anything.
std::error_code writeAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastError();
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return {};
}

// Scope guard, and the usual way to replace a file whole or not at all: a new file beside it, written to the
// end, takes its name. In the same folder, because a name can only be taken within one file system. Removed
// again unless it has taken the name.
class Replacement {
public:
    explicit Replacement(const fs::path& target)
        : target_(target), name_(target.string() + ".XXXXXX"), file_(::mkstemp(name_.data())) {}
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (file_ < 0) return;
        ::close(file_);
        if (!isDone_) ::unlink(name_.c_str());
    }

    [[nodiscard]] std::error_code write(std::span<const std::byte> bytes) {
        // That of the constructor: nothing was called since.
        if (file_ < 0) return lastError();
        if (auto error = writeAll(file_, bytes)) return error;
        // The bytes have to be on the disk before the name leads to them. What closing could still tell was
        // told here.
        if (::fchmod(file_, mode()) != 0 || ::fsync(file_) != 0) return lastError();
        if (::rename(name_.c_str(), target_.c_str()) != 0) return lastError();
        isDone_ = true;
        return {};
    }

private:
    // The permissions of the old file, or those that a new one would get: it was made with the user's alone.
    [[nodiscard]] mode_t mode() const {
        struct stat old {};
        if (::stat(target_.c_str(), &old) == 0) return old.st_mode & 07777;
        // The mask can only be read by setting it.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return 0666 & ~mask;
    }

    fs::path target_;
    std::string name_;
    int file_;
    bool isDone_ = false;
};

} // namespace

std::error_code readStandardInput(std::string& result) {
    std::array<char, 65536> part{};
    for (;;) {
        const auto count = ::read(STDIN_FILENO, part.data(), part.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastError();
        if (count == 0) return {};
        result.append(part.data(), static_cast<std::size_t>(count));
    }
}

std::error_code writeStandardOutput(std::span<const std::byte> bytes) {
    return writeAll(STDOUT_FILENO, bytes);
}

std::error_code replaceFile(const fs::path& file, std::span<const std::byte> bytes) {
    std::error_code error;
    // The file that a link leads to is replaced, not the link. It need not be there yet.
    const fs::path target = fs::weakly_canonical(file, error);
    return error ? error : Replacement(target).write(bytes);
}
