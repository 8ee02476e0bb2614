#pragma once

#include <cstdint>

namespace tarv {

/// State of the hash accumulator: a plain 64-bit value the caller keeps in a local variable.
using TARVHasher = std::uint64_t;

/// A fresh accumulator. The same values added in the same order always give the same result,
/// in every process and on every machine: there is no random seed.
TARVHasher TARVHasherCreate() noexcept;

/// Mixes one 32-bit value into the accumulator.
void TARVHasherAddUnsignedInt(TARVHasher* hasher, std::uint32_t value) noexcept;

/// The accumulated hash. Callers keep its low 32 bits.
std::uint64_t TARVHasherGetResult(const TARVHasher* hasher) noexcept;

/// Deterministic hash of a text, for objects whose hash takes in a text's hash.
std::uint64_t TARVHashString(const char* data, std::size_t length) noexcept;

} // namespace tarv
