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

// Scope guard: signals that end a program (Ctrl-C among them) wait until it is gone.
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

// Scope guard, and the usual way to replace a file whole or not at all: a new file beside it, written to the
// end, takes its name. In the same folder, because a name can only be taken within one file system; with a
// short name of its own, because the target's may be as long as names get. Removed again unless it has taken
// the name.
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

    SignalsWait signals_; // the first: it goes last
    fs::path target_;
    std::string name_;
    int file_;
    bool isDone_ = false;
};

// Where a chain of links ends; that file need not be there yet.
fs::path withoutLinks(fs::path file, std::error_code& error) {
    constexpr int longestChain = 40; // as in the system
    for (int links = 0; links < longestChain; ++links) {
        const fs::path next = fs::read_symlink(file, error);
        if (error) { // it is no link
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
    // The name could be taken away from a file that may not be written, too.
    if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT) return lastError();
    return Replacement(target).write(bytes);
}
