#include "tarv/TARVVersion.hpp"

namespace tarv {

std::string_view TARVVersionString() noexcept {
    return "0.1.0";
}

} // namespace tarv
