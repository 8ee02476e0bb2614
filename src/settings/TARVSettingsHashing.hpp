#pragma once

#include "tarv/music/TARVHasher.hpp"
#include "tarv/settings/TARVUUID.hpp"

#include <cstdint>
#include <string>

namespace tarv::settings_hashing {

/// Feeds a 64-bit value, low half first.
inline void addUInt64(TARVHasher* hasher, std::uint64_t value) noexcept {
    TARVHasherAddUnsignedInt(hasher, static_cast<std::uint32_t>(value));
    TARVHasherAddUnsignedInt(hasher, static_cast<std::uint32_t>(value >> 32));
}

inline void addInt64(TARVHasher* hasher, std::int64_t value) noexcept {
    addUInt64(hasher, static_cast<std::uint64_t>(value));
}

inline void addString(TARVHasher* hasher, const std::string& text) noexcept {
    addUInt64(hasher, TARVHashString(text.data(), text.size()));
}

inline void addUUID(TARVHasher* hasher, const TARVUUID& uuid) noexcept {
    addUInt64(hasher, uuid.hash());
}

} // namespace tarv::settings_hashing
