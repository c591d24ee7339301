#pragma once

/// @file
/// The list that the host and its modules share.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

/// The host's growable array, as modules pass it to each other by address.
///
/// Element storage first, then physical, logical and grow length, 32 bits each: this layout is shared between
/// modules and does not change. Elements are plain values and move with their bytes. A full array grows by
/// its logical length while that many elements take fewer than 65536 bytes, else by 8192 elements or by the
/// grow length, whichever is more; a short array grows at least by the grow length.
///
///     KzDbObjectIdArray doors;
///     doors.append(door);
///     for (const KzDbObjectId id : doors) std::puts(Zelvane::nameOf(id).c_str());
template <class T>
class KzArray {
    static_assert(std::is_trivially_copyable_v<T>, "elements move with their bytes");

public:
    KzArray() = default;
    /// An empty array with room for `physicalLength` elements. Throws std::bad_alloc, as does copying.
    explicit KzArray(std::int32_t physicalLength, std::int32_t growLength = 8) : growLength_(growLength) {
        if (physicalLength > 0) reserve(physicalLength);
    }
    /// A copy has the elements and the grow length; a moved-from array is empty.
    /// @{
    KzArray(const KzArray& other) : growLength_(other.growLength_) { append(other); }
    KzArray(KzArray&& other) noexcept { swap(other); }
    KzArray& operator=(KzArray other) noexcept {
        swap(other);
        return *this;
    }
    /// @}
    ~KzArray() { std::free(elements_); }

    /// The number of elements, the capacity, and by how many elements the array grows at least.
    /// @{
    [[nodiscard]] std::int32_t length() const { return logicalLength_; }
    [[nodiscard]] bool isEmpty() const { return logicalLength_ == 0; }
    [[nodiscard]] std::int32_t physicalLength() const { return physicalLength_; }
    [[nodiscard]] std::int32_t growLength() const { return growLength_; }
    /// @}

    /// The elements, unchecked. Growing invalidates pointers to them.
    /// @{
    [[nodiscard]] T& operator[](std::int32_t index) { return elements_[index]; }
    [[nodiscard]] const T& operator[](std::int32_t index) const { return elements_[index]; }
    [[nodiscard]] T* begin() { return elements_; }
    [[nodiscard]] T* end() { return elements_ + logicalLength_; }
    [[nodiscard]] const T* begin() const { return elements_; }
    [[nodiscard]] const T* end() const { return elements_ + logicalLength_; }
    /// @}

    /// Appends one element. If std::bad_alloc is thrown, the array is unchanged.
    void append(T value) {
        if (logicalLength_ == physicalLength_) reserve(grown(1));
        elements_[logicalLength_++] = value;
    }

    /// Appends `count` elements, which must be outside this array. Throws like the other.
    void append(const T* values, std::int32_t count) {
        if (count <= 0) return;
        if (physicalLength_ - logicalLength_ < count) reserve(grown(count));
        std::memcpy(elements_ + logicalLength_, values, sizeof(T) * static_cast<std::size_t>(count));
        logicalLength_ += count;
    }
    /// Appends all elements of another array.
    void append(const KzArray& other) { append(other.elements_, other.logicalLength_); }

    /// Reserves capacity for `length` elements in all; never shrinks.
    void reserve(std::int32_t length) {
        if (length <= physicalLength_) return;
        void* const storage = std::realloc(elements_, sizeof(T) * static_cast<std::size_t>(length));
        if (storage == nullptr) throw std::bad_alloc();
        elements_ = static_cast<T*>(storage);
        physicalLength_ = length;
    }

    /// Removes all elements and keeps the storage.
    void clear() { logicalLength_ = 0; }

    /// Exchanges everything, including the grow length.
    void swap(KzArray& other) noexcept {
        std::swap(elements_, other.elements_);
        std::swap(physicalLength_, other.physicalLength_);
        std::swap(logicalLength_, other.logicalLength_);
        std::swap(growLength_, other.growLength_);
    }

private:
    /// The physical length after growing for `count` more elements.
    [[nodiscard]] std::int32_t grown(std::int32_t count) const {
        constexpr std::int32_t largeStep = 8192;
        const bool isSmall = static_cast<std::size_t>(logicalLength_) * sizeof(T) < 65536;
        std::int32_t step = isSmall ? logicalLength_ : largeStep;
        if (step < growLength_) step = growLength_;
        return logicalLength_ + (step < count ? count : step);
    }

    T* elements_ = nullptr;
    std::int32_t physicalLength_ = 0;
    std::int32_t logicalLength_ = 0;
    std::int32_t growLength_ = 8;
};
