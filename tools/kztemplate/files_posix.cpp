#include "tools/kztemplate/system_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

// The system may write only a part, or be interrupted by a signal before it writes anything.
std::error_code writeAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastError();
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return {};
}

// Scope guard: blocks signals that end the program (including Ctrl-C).
class SignalsWait {
public:
    SignalsWait() {
        sigset_t ending;
        ::sigemptyset(&ending);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) ::sigaddset(&ending, signal);
        ::sigprocmask(SIG_BLOCK, &ending, &before_);
    }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;
    ~SignalsWait() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

// Scope guard for atomic replacement of a file: a new file is written completely, then renamed. It is in
// the same folder, because renaming works only within a file system; it has a short name, because the name
// of the target may have the maximum length. Removed again unless it was renamed.
class Replacement {
public:
    explicit Replacement(const fs::path& target)
        : target_(target),
          name_((target.parent_path() / ".kztemplate.XXXXXX").string()),
          file_(::mkstemp(name_.data())) {}
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement() {
        if (file_ < 0) return;
        ::close(file_);
        if (!isDone_) ::unlink(name_.c_str());
    }

    [[nodiscard]] std::error_code write(std::span<const std::byte> bytes) {
        // The error of the constructor: no other call was made since.
        if (file_ < 0) return lastError();
        if (auto error = writeAll(file_, bytes)) return error;
        // The bytes must be on the disk before the file is renamed. Errors of close are already reported
        // here.
        if (::fchmod(file_, mode()) != 0 || ::fsync(file_) != 0) return lastError();
        if (::rename(name_.c_str(), target_.c_str()) != 0) return lastError();
        isDone_ = true;
        return {};
    }

private:
    // The permissions of the old file, or those of a new file: it was created with permissions for the user
    // only.
    [[nodiscard]] mode_t mode() const {
        struct stat old {};
        if (::stat(target_.c_str(), &old) == 0) return old.st_mode & 07777;
        // The mask can be read only by setting it.
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return 0666 & ~mask;
    }

    SignalsWait signals_; // the first member: destroyed last
    fs::path target_;
    std::string name_;
    int file_;
    bool isDone_ = false;
};

// The end of a chain of links; the file need not exist.
fs::path withoutLinks(fs::path file, std::error_code& error) {
    constexpr int longestChain = 40; // as in the system
    for (int links = 0; links < longestChain; ++links) {
        const fs::path next = fs::read_symlink(file, error);
        if (error) { // not a link
            error.clear();
            return file;
        }
        file = file.parent_path() / next;
    }
    error = std::make_error_code(std::errc::too_many_symbolic_link_levels);
    return {};
}

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
    const fs::path target = withoutLinks(file, error);
    if (error) return error;
    // Renaming would replace a write-protected file too.
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT) return lastError();
    return Replacement(target).write(bytes);
}
