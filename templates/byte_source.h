#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <system_error>

/// Sequential source of bytes for an archive reader.
class KzDxByteSource {
public:
    KzDxByteSource() = default;
    KzDxByteSource(const KzDxByteSource&) = delete;
    KzDxByteSource& operator=(const KzDxByteSource&) = delete;
    virtual ~KzDxByteSource() = default;

    /// The size in bytes as known at the start. A reader rejects a length beyond it before
    /// it allocates anything; the source may turn out to hold fewer bytes.
    [[nodiscard]] virtual std::uint64_t size() const = 0;

    /// Copies the next bytes to `to`, at most as many as fit, and returns how many. 0: the end, or a read
    /// error.
    [[nodiscard]] virtual std::size_t read(std::span<std::byte> to) = 0;

    /// Whether the last read() failed, as opposed to reaching the end.
    [[nodiscard]] virtual bool failed() const { return false; }
};

/// Bytes in memory, not owned.
class KzDxMemorySource : public KzDxByteSource {
public:
    explicit KzDxMemorySource(std::span<const std::byte> bytes) : size_(bytes.size()), rest_(bytes) {}

    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t read(std::span<std::byte> to) override;

private:
    std::uint64_t size_;
    std::span<const std::byte> rest_;
};

/// A regular file. Closed by the destructor.
class KzDxFileSource : public KzDxByteSource {
public:
    /// Opens the file for reading. A directory, a device or a pipe is rejected (std::errc::invalid_argument),
    /// so that opening never blocks and the size is known.
    [[nodiscard]] std::error_code open(const std::filesystem::path& path);

    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t read(std::span<std::byte> to) override;
    [[nodiscard]] bool failed() const override { return file_.bad(); }

private:
    std::ifstream file_;
    std::uint64_t size_ = 0;
};
