#include "tools/kztemplate/files.h"

#include "text/paths.h"
#include "tools/kztemplate/system_files.h"

#include <array>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

// A source that owns its bytes. The order of the members matters: the source borrows the bytes, which do
// not move or change afterwards.
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

} // namespace

std::unique_ptr<KzDxByteSource> openInput(const std::string& name, std::error_code& error) {
    if (name == "-") {
        // Read completely, because a source must know its size.
        std::string bytes;
        error = readStandardInput(bytes);
        return error ? nullptr : std::make_unique<OwnedBytes>(std::move(bytes));
    }
    auto file = std::make_unique<KzDxFileSource>();
    error = file->open(Text::toPath(name));
    return error ? nullptr : std::move(file);
}

std::error_code readAll(KzDxByteSource& source, std::string& result) {
    std::array<std::byte, 65536> part{};
    // 0 bytes mean the end or an error, which is checked next.
    while (const auto count = source.read(part))
        result.append(reinterpret_cast<const char*>(part.data()), count);
    return source.failed() ? std::make_error_code(std::errc::io_error) : std::error_code{};
}

std::error_code writeOutput(const std::string& name, std::span<const std::byte> bytes) {
    if (name == "-") return writeStandardOutput(bytes);
    const fs::path target = Text::toPath(name);
    std::error_code ignored; // replaceFile reports names that cannot be queried
    const auto status = fs::status(target, ignored);
    // A device must not be replaced by a file.
    if (fs::exists(status) && !fs::is_regular_file(status))
        return std::make_error_code(std::errc::invalid_argument);
    if (!target.has_filename()) return std::make_error_code(std::errc::not_a_directory); // ends in a slash
    return replaceFile(target, bytes);
}
