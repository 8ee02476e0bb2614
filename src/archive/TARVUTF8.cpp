#include "tarv/archive/TARVUTF8.hpp"

#include <cstdint>

namespace tarv {

bool TARVIsValidUTF8(std::string_view text) noexcept {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const std::size_t size = text.size();
    std::size_t i = 0;
    while (i < size) {
        const unsigned char lead = bytes[i];
        if (lead < 0x80) {
            ++i;
            continue;
        }
        std::size_t length = 0;
        std::uint32_t minimum = 0;
        std::uint32_t code = 0;
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            minimum = 0x80;
            code = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            minimum = 0x800;
            code = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            minimum = 0x10000;
            code = lead & 0x07;
        } else {
            return false;
        }
        if (size - i < length) {
            return false;
        }
        for (std::size_t k = 1; k < length; ++k) {
            const unsigned char next = bytes[i + k];
            if ((next & 0xC0) != 0x80) {
                return false;
            }
            code = (code << 6) | (next & 0x3F);
        }
        if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
            return false;
        }
        i += length;
    }
    return true;
}

} // namespace tarv
