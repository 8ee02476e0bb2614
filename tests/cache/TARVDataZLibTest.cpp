#include "tarv/cache/TARVDataZLib.hpp"

#include <gtest/gtest.h>
#include <zlib.h>

#include <numeric>
#include <string>

using namespace tarv;

namespace {

TARVData bytesOf(const std::string& text) {
    return TARVData(text.begin(), text.end());
}

TARVData sampleData() {
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        text += "{\"fret\": " + std::to_string(i % 13) + ", \"indicators\": [0, 1, 2, 2, 0, -1]}";
    }
    return bytesOf(text);
}

/// zlib's own one-shot deflate with the given window bits (15: zlib framing, -15: raw).
TARVData deflated(const TARVData& input, int windowBits, const TARVData* dictionary = nullptr) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY), Z_OK);
    if (dictionary != nullptr) {
        deflateSetDictionary(&stream, dictionary->data(), static_cast<uInt>(dictionary->size()));
    }
    TARVData output(deflateBound(&stream, static_cast<uLong>(input.size())) + 64);
    stream.next_in = const_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

} // namespace

TEST(TARVDataZLib, EmptyBufferIsAnsweredAsItIs) {
    const TARVData empty;
    const auto compressed = compressedData(empty);
    ASSERT_TRUE(compressed);
    EXPECT_TRUE(compressed->empty());
    const auto decompressed = decompressedData(empty);
    ASSERT_TRUE(decompressed);
    EXPECT_TRUE(decompressed->empty());
}

TEST(TARVDataZLib, RoundTripGivesTheBufferBackBehindAGzipHeader) {
    for (const TARVData& input : {bytesOf("x"), bytesOf("EADGBE"), sampleData()}) {
        const auto compressed = compressedData(input);
        ASSERT_TRUE(compressed);
        ASSERT_GE(compressed->size(), 2u);
        EXPECT_EQ((*compressed)[0], 0x1f);
        EXPECT_EQ((*compressed)[1], 0x8b);
        const auto restored = decompressedData(*compressed);
        ASSERT_TRUE(restored);
        EXPECT_EQ(*restored, input);
    }
}

TEST(TARVDataZLib, CompressionGrowsItsOutputBeyondOneStep) {
    // Random-looking bytes do not compress: the output outgrows the first 16384 bytes.
    TARVData noise(40000);
    std::uint32_t state = 12345;
    for (auto& byte : noise) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<std::uint8_t>(state >> 24);
    }
    const auto compressed = compressedData(noise);
    ASSERT_TRUE(compressed);
    EXPECT_GT(compressed->size(), 16384u);
    EXPECT_EQ(*decompressedData(*compressed), noise);
}

TEST(TARVDataZLib, ZlibFramedDataDecompresses) {
    const auto input = sampleData();
    const auto restored = decompressedData(deflated(input, 15));
    ASSERT_TRUE(restored);
    EXPECT_EQ(*restored, input);
}

TEST(TARVDataZLib, RawDeflateDataGivesNothing) {
    EXPECT_FALSE(decompressedData(deflated(sampleData(), -15)));
}

TEST(TARVDataZLib, TruncatedDataGivesNothing) {
    auto compressed = *compressedData(sampleData());
    compressed.resize(compressed.size() / 2);
    EXPECT_FALSE(decompressedData(compressed));
    auto withoutTrailer = *compressedData(sampleData());
    withoutTrailer.resize(withoutTrailer.size() - 4);
    EXPECT_FALSE(decompressedData(withoutTrailer));
}

TEST(TARVDataZLib, CorruptDataGivesNothing) {
    auto compressed = *compressedData(sampleData());
    for (std::size_t i = 20; i < compressed.size(); i += 7) {
        compressed[i] ^= 0x5A;
    }
    EXPECT_FALSE(decompressedData(compressed));
    EXPECT_FALSE(decompressedData(bytesOf("[{\"asciiNoteString\": \"EADGBE\"}]")));
}

TEST(TARVDataZLib, DataNeedingADictionaryGivesNothing) {
    const auto dictionary = bytesOf("indicators fret");
    EXPECT_FALSE(decompressedData(deflated(sampleData(), 15, &dictionary)));
}

TEST(TARVDataZLib, BytesAfterTheFirstStreamAreIgnored) {
    const auto input = bytesOf("first stream");
    auto compressed = *compressedData(input);
    const auto second = *compressedData(bytesOf("second"));
    compressed.insert(compressed.end(), second.begin(), second.end());
    EXPECT_EQ(*decompressedData(compressed), input);
}
