#include "templates/byte_source.h"

#include <algorithm>
#include <cerrno>
#include <ios>

std::size_t KzDxMemorySource::read(std::span<std::byte> to) {
    const auto count = std::min(to.size(), rest_.size());
    std::copy_n(rest_.begin(), count, to.begin());
    rest_ = rest_.subspan(count);
    return count;
}

std::error_code KzDxFileSource::open(const std::filesystem::path& path) {
    std::error_code error;
    // Before it is opened, because opening a pipe would block until there is a writer.
    if (std::filesystem::is_regular_file(path, error)) {
        size_ = std::filesystem::file_size(path, error);
    } else if (!error) {
        error = std::make_error_code(std::errc::invalid_argument);
    }
    if (error) return error;

    file_.open(path, std::ios::in | std::ios::binary);
    if (file_.is_open()) return {};
    return {errno, std::generic_category()}; // the stream does not tell why it cannot open a file
}

std::size_t KzDxFileSource::read(std::span<std::byte> to) {
    file_.read(reinterpret_cast<char*>(to.data()), static_cast<std::streamsize>(to.size()));
    // The last part may be shorter, which the stream treats as a failure; the bytes that were read count.
    return static_cast<std::size_t>(file_.gcount());
}
