#include "tarv/music/TARVHasher.hpp"

namespace tarv {

namespace {
constexpr std::uint64_t kSeed = 0x9E3779B97F4A7C15ULL;
constexpr std::uint64_t kMultiplier = 0xBF58476D1CE4E5B9ULL;

constexpr std::uint64_t finalize(std::uint64_t x) noexcept {
    x ^= x >> 30;
    x *= 0xBF58476D1CE4E5B9ULL;
    x ^= x >> 27;
    x *= 0x94D049BB133111EBULL;
    x ^= x >> 31;
    return x;
}
} // namespace

TARVHasher TARVHasherCreate() noexcept { return kSeed; }

void TARVHasherAddUnsignedInt(TARVHasher* hasher, std::uint32_t value) noexcept {
    std::uint64_t state = *hasher ^ value;
    state *= kMultiplier;
    *hasher = state ^ (state >> 29);
}

std::uint64_t TARVHasherGetResult(const TARVHasher* hasher) noexcept { return finalize(*hasher); }

std::uint64_t TARVHashString(const char* data, std::size_t length) noexcept {
    // FNV-1a, then the accumulator's finaliser to spread the bits.
    std::uint64_t h = 0xCBF29CE484222325ULL;
    for (std::size_t i = 0; i < length; ++i) {
        h ^= static_cast<unsigned char>(data[i]);
        h *= 0x100000001B3ULL;
    }
    return finalize(h);
}

} // namespace tarv
