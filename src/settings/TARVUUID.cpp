#include "tarv/settings/TARVUUID.hpp"

#include "tarv/music/TARVHasher.hpp"

#include <uuid/uuid.h>

namespace tarv {

TARVUUID::TARVUUID() : _bytes() {
    uuid_generate_random(_bytes.data());
}

std::string TARVUUID::string() const {
    char text[37];
    uuid_unparse_upper(_bytes.data(), text);
    return text;
}

std::uint64_t TARVUUID::hash() const noexcept {
    TARVHasher hasher = TARVHasherCreate();
    for (std::size_t i = 0; i < _bytes.size(); i += 4) {
        TARVHasherAddUnsignedInt(&hasher, static_cast<std::uint32_t>(_bytes[i]) << 24 |
                                              static_cast<std::uint32_t>(_bytes[i + 1]) << 16 |
                                              static_cast<std::uint32_t>(_bytes[i + 2]) << 8 |
                                              static_cast<std::uint32_t>(_bytes[i + 3]));
    }
    return TARVHasherGetResult(&hasher);
}

} // namespace tarv
