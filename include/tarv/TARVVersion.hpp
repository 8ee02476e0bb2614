#pragma once

#include <string_view>

namespace tarv {

/// The library's version, "major.minor.patch".
std::string_view TARVVersionString() noexcept;

} // namespace tarv
