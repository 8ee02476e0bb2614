#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tarv {

/// A byte buffer.
using TARVData = std::vector<std::uint8_t>;

/// The gzip-compressed copy of `data` (level 9, 32 KiB window, gzip header and trailer); an
/// empty buffer is answered as it is, uncompressed. Nothing when compression fails.
std::optional<TARVData> compressedData(std::span<const std::uint8_t> data);

/// The decompressed copy of gzip- or zlib-framed `data`; an empty buffer is answered as it is.
/// Nothing for raw deflate data, truncated or corrupt input, or a stream that needs a preset
/// dictionary, or when the output would exceed `maximumSize` bytes or memory runs out. Bytes after
/// the end of the first stream are ignored.
std::optional<TARVData> decompressedData(std::span<const std::uint8_t> data,
                                         std::size_t maximumSize = SIZE_MAX);

} // namespace tarv
