#include "tarv/music/TARVHasher.hpp"

namespace tarv {

std::uint64_t TARVHashString(const char* data, std::size_t length) noexcept {
    // FNV-1a, then the accumulator's finaliser to spread the bits.
    std::uint64_t h = 0xCBF29CE484222325ULL;
    for (std::size_t i = 0; i < length; ++i) {
        h ^= static_cast<unsigned char>(data[i]);
        h *= 0x100000001B3ULL;
    }
    return detail::hasherFinalize(h);
}

} // namespace tarv
