#pragma once

#include <string_view>

namespace tarv {

/// Whether `text` is well-formed UTF-8: no stray or missing continuation bytes, no overlong
/// forms, no surrogates and nothing above U+10FFFF.
bool TARVIsValidUTF8(std::string_view text) noexcept;

} // namespace tarv
