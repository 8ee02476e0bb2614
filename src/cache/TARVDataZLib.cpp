#include "tarv/cache/TARVDataZLib.hpp"

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <new>

namespace tarv {

namespace {
// The stream initialisers check only the major version of this text against the library's.
constexpr const char* kZlibVersion = "1.2.12";
constexpr std::size_t kCompressionStep = 16384;
} // namespace

std::optional<TARVData> compressedData(std::span<const std::uint8_t> data) {
    if (data.empty()) {
        return TARVData{};
    }
    z_stream stream{};
    stream.next_in = const_cast<Bytef*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    if (deflateInit2_(&stream, 9, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY, kZlibVersion,
                      static_cast<int>(sizeof(z_stream))) != Z_OK) {
        return std::nullopt;
    }
    TARVData output(kCompressionStep);
    do {
        if (stream.total_out >= output.size()) {
            output.resize(output.size() + kCompressionStep);
        }
        stream.next_out = output.data() + stream.total_out;
        stream.avail_out = static_cast<uInt>(output.size() - stream.total_out);
        deflate(&stream, Z_FINISH);
    } while (stream.avail_out == 0);
    deflateEnd(&stream);
    output.resize(stream.total_out);
    return output;
}

std::optional<TARVData> decompressedData(std::span<const std::uint8_t> data,
                                         std::size_t maximumSize) {
    if (data.empty()) {
        return TARVData{};
    }
    // zlib counts in 32 bits; larger input is beyond what this reads in one stream.
    if (data.size() > UINT32_MAX) {
        return std::nullopt;
    }
    const std::size_t half = data.size() / 2;
    TARVData output;
    try {
        output.resize(std::min(data.size() + half, maximumSize));
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    z_stream stream{};
    stream.next_in = const_cast<Bytef*>(data.data());
    stream.avail_in = static_cast<uInt>(data.size());
    if (inflateInit2_(&stream, 47, kZlibVersion, static_cast<int>(sizeof(z_stream))) != Z_OK) {
        return std::nullopt;
    }
    while (true) {
        if (stream.total_out >= output.size()) {
            if (output.size() >= maximumSize) {
                inflateEnd(&stream);
                return std::nullopt;
            }
            // A one-byte input has no half to grow by; growing by one byte keeps the loop going.
            const std::size_t grown = output.size() + (half > 0 ? half : 1);
            try {
                output.resize(std::min(grown, maximumSize));
            } catch (const std::bad_alloc&) {
                inflateEnd(&stream);
                return std::nullopt;
            }
        }
        stream.next_out = output.data() + stream.total_out;
        stream.avail_out =
            static_cast<uInt>(std::min<std::size_t>(output.size() - stream.total_out, UINT32_MAX));
        const int status = inflate(&stream, Z_SYNC_FLUSH);
        if (static_cast<unsigned>(status) > static_cast<unsigned>(Z_STREAM_END)) {
            inflateEnd(&stream);
            return std::nullopt;
        }
        if (status == Z_STREAM_END) {
            break;
        }
    }
    if (inflateEnd(&stream) != Z_OK) {
        return std::nullopt;
    }
    output.resize(stream.total_out);
    return output;
}

} // namespace tarv
