#pragma once

#include <string>
#include <string_view>

namespace tarv {

/// The key an object's value is stored under: keys starting with "$" get one more "$" in front,
/// as Foundation's keyed archiver writes them, so that they never clash with "$class".
inline std::string TARVEscapedArchiveKey(std::string_view key) {
    std::string escaped;
    if (!key.empty() && key.front() == '$') {
        escaped += '$';
    }
    escaped += key;
    return escaped;
}

} // namespace tarv
