#pragma once

#include <cstddef>
#include <cstdint>

namespace tarv {

/// State of the hash accumulator: a plain 64-bit value the caller keeps in a local variable.
using TARVHasher = std::uint64_t;

namespace detail {
constexpr std::uint64_t kHasherSeed = 0x9E3779B97F4A7C15ULL;
constexpr std::uint64_t kHasherMultiplier = 0xBF58476D1CE4E5B9ULL;

constexpr std::uint64_t hasherFinalize(std::uint64_t x) noexcept {
    x ^= x >> 30;
    x *= 0xBF58476D1CE4E5B9ULL;
    x ^= x >> 27;
    x *= 0x94D049BB133111EBULL;
    x ^= x >> 31;
    return x;
}
} // namespace detail

/// A fresh accumulator. The same values added in the same order always give the same result,
/// in every process and on every machine: there is no random seed.
constexpr TARVHasher TARVHasherCreate() noexcept {
    return detail::kHasherSeed;
}

/// Mixes one 32-bit value into the accumulator.
constexpr void TARVHasherAddUnsignedInt(TARVHasher* hasher, std::uint32_t value) noexcept {
    std::uint64_t state = *hasher ^ value;
    state *= detail::kHasherMultiplier;
    *hasher = state ^ (state >> 29);
}

/// The accumulated hash. Callers keep its low 32 bits.
constexpr std::uint64_t TARVHasherGetResult(const TARVHasher* hasher) noexcept {
    return detail::hasherFinalize(*hasher);
}

/// Deterministic hash of a text, for objects whose hash takes in a text's hash.
std::uint64_t TARVHashString(const char* data, std::size_t length) noexcept;

} // namespace tarv
