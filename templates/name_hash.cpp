#include "templates/name_hash.h"

#include "core/boundary.h"

#include <bit>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <random>

namespace {

std::uint64_t random64(std::random_device& device) {
    return std::uint64_t{device()} << 32 | device();
}

// A system that has no randomness to give is left with what its users cannot easily know.
KzDxNameHashKey makeKey() {
    const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
    const KzDxNameHashKey poor = {static_cast<std::uint64_t>(now), reinterpret_cast<std::uintptr_t>(&now)};
    return kzdxAtBoundary(poor, [] {
        std::random_device device;
        const std::uint64_t low = random64(device);
        return KzDxNameHashKey{low, random64(device)};
    });
}

// SipHash with one round for each word and three at the end.
class Sip {
public:
    explicit Sip(const KzDxNameHashKey& key)
        : a_(key.low ^ 0x736f6d6570736575),
          b_(key.high ^ 0x646f72616e646f6d),
          c_(key.low ^ 0x6c7967656e657261),
          d_(key.high ^ 0x7465646279746573) {}

    void take(std::uint64_t word) {
        d_ ^= word;
        mix();
        a_ ^= word;
    }

    // May be called once: it uses the state up.
    [[nodiscard]] std::uint64_t finish() {
        c_ ^= 0xFF;
        for (int round = 0; round < 3; ++round) mix();
        return a_ ^ b_ ^ c_ ^ d_;
    }

private:
    // One round.
    void mix() {
        a_ += b_;
        c_ += d_;
        b_ = std::rotl(b_, 13) ^ a_;
        d_ = std::rotl(d_, 16) ^ c_;
        a_ = std::rotl(a_, 32) + d_;
        c_ += b_;
        d_ = std::rotl(d_, 21) ^ a_;
        b_ = std::rotl(b_, 17) ^ c_;
        c_ = std::rotl(c_, 32);
    }

    std::uint64_t a_;
    std::uint64_t b_;
    std::uint64_t c_;
    std::uint64_t d_;
};

constexpr std::size_t unitsPerWord = sizeof(std::uint64_t) / sizeof(char16_t);

// The four units as they lie in memory: no hash leaves the process.
std::uint64_t wordOf(const char16_t* units) {
    std::uint64_t result = 0;
    std::memcpy(&result, units, sizeof result);
    return result;
}

// Fewer than four units, with the length before them, which tells a name from the same one with NULs behind.
std::uint64_t lastWordOf(std::u16string_view rest, std::size_t length) {
    std::uint64_t result = length;
    for (std::size_t i = 0; i + 1 < unitsPerWord; ++i) {
        result = result << 16 | (i < rest.size() ? rest[i] : 0U);
    }
    return result;
}

} // namespace

std::uint32_t kzdxNameHash(std::u16string_view name) {
    // Made at the first name: who reads no template draws no key.
    static const KzDxNameHashKey key = makeKey();
    return kzdxNameHash(name, key);
}

std::uint32_t kzdxNameHash(std::u16string_view name, const KzDxNameHashKey& key) {
    Sip sip(key);
    auto rest = name;
    for (; rest.size() >= unitsPerWord; rest.remove_prefix(unitsPerWord)) {
        sip.take(wordOf(rest.data()));
    }
    sip.take(lastWordOf(rest, name.size()));
    return static_cast<std::uint32_t>(sip.finish());
}
