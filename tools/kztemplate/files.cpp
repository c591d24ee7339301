#include "tools/kztemplate/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

std::error_code lastError() {
    return {errno, std::generic_category()};
}

class OwnedBytes : public KzDxByteSource {
public:
    explicit OwnedBytes(std::string bytes)
        : bytes_(std::move(bytes)), source_(std::as_bytes(std::span(bytes_))) {}

    [[nodiscard]] std::uint64_t size() const override { return source_.size(); }
    [[nodiscard]] std::size_t read(std::span<std::byte> to) override { return source_.read(to); }

private:
    std::string bytes_;
    KzDxMemorySource source_;
};

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

std::error_code writeAll(int file, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const auto count = ::write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return lastError();
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
    return {};
}

// A new file beside the one that it is to replace. Removed again unless it has taken the name.
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
        if (file_ < 0) return lastError();
        if (auto error = writeAll(file_, bytes)) return error;
        if (::fchmod(file_, mode()) != 0 || ::fsync(file_) != 0) return lastError();
        if (::rename(name_.c_str(), target_.c_str()) != 0) return lastError();
        isDone_ = true;
        return {};
    }

private:
    [[nodiscard]] mode_t mode() const {
        struct stat old {};
        if (::stat(target_.c_str(), &old) == 0) return old.st_mode & 07777;
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

std::unique_ptr<KzDxByteSource> openInput(const std::string& name, std::error_code& error) {
    if (name == "-") {
        std::string bytes;
        error = readStandardInput(bytes);
        return error ? nullptr : std::make_unique<OwnedBytes>(std::move(bytes));
    }
    auto file = std::make_unique<KzDxFileSource>();
    error = file->open(name);
    return error ? nullptr : std::move(file);
}

std::error_code readAll(KzDxByteSource& source, std::string& result) {
    std::array<std::byte, 65536> part{};
    while (const auto count = source.read(part))
        result.append(reinterpret_cast<const char*>(part.data()), count);
    return source.failed() ? std::make_error_code(std::errc::io_error) : std::error_code{};
}

std::error_code writeOutput(const std::string& name, std::span<const std::byte> bytes) {
    if (name == "-") return writeAll(STDOUT_FILENO, bytes);
    std::error_code error;
    const auto target = fs::weakly_canonical(name, error);
    if (error) return error;
    const auto status = fs::status(target, error);
    if (fs::exists(status) && !fs::is_regular_file(status))
        return std::make_error_code(std::errc::invalid_argument);
    return Replacement(target).write(bytes);
}
