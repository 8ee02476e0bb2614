#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace tarv {

/// Frets written as players write them, lowest string first ("x,3,2,0,1,0"), per string number
/// (string 0 first).
inline std::vector<std::int8_t> frets(const std::string& text) {
    std::vector<std::int8_t> result;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const std::string part = text.substr(start, end - start);
        result.insert(result.begin(),
                      part == "x" ? std::int8_t{-1} : static_cast<std::int8_t>(std::stoi(part)));
        start = end + 1;
    }
    return result;
}

} // namespace tarv
