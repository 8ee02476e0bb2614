#include "tarv/music/TARVHasher.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <set>
#include <string_view>

using namespace tarv;

namespace {

std::uint64_t hashOf(std::initializer_list<std::uint32_t> values) {
    TARVHasher hasher = TARVHasherCreate();
    for (const auto value : values) {
        TARVHasherAddUnsignedInt(&hasher, value);
    }
    return TARVHasherGetResult(&hasher);
}

} // namespace

TEST(TARVHasher, SameValuesInSameOrderGiveSameResult) {
    EXPECT_EQ(hashOf({1, 2, 3}), hashOf({1, 2, 3}));
    EXPECT_EQ(hashOf({}), hashOf({}));
}

TEST(TARVHasher, ResultIsTheSameInEveryProcess) {
    // Fixed values: the accumulator has no per-process seed.
    EXPECT_EQ(hashOf({}), 0xe220a8397b1dcdafULL);
    EXPECT_EQ(hashOf({1, 2, 3}), 0x5d5146bfe97cff33ULL);
}

TEST(TARVHasher, DifferentOrdersGiveDifferentResults) {
    EXPECT_NE(hashOf({1, 2, 3}), hashOf({3, 2, 1}));
    EXPECT_NE(hashOf({1, 2}), hashOf({2, 1}));
    EXPECT_NE(hashOf({0, 7}), hashOf({7, 0}));
}

TEST(TARVHasher, DifferentValuesGiveDifferentResults) {
    EXPECT_NE(hashOf({1}), hashOf({2}));
    EXPECT_NE(hashOf({}), hashOf({0}));
    EXPECT_NE(hashOf({0}), hashOf({0, 0}));
    EXPECT_NE(hashOf({0xFFFFFFFFU}), hashOf({0x7FFFFFFFU}));
}

TEST(TARVHasher, ReadingTheResultLeavesTheStateUnchanged) {
    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, 42);
    const TARVHasher before = hasher;
    const auto first = TARVHasherGetResult(&hasher);
    EXPECT_EQ(TARVHasherGetResult(&hasher), first);
    EXPECT_EQ(hasher, before);
}

TEST(TARVHasher, LowThirtyTwoBitsSeparateSmallFieldCombinations) {
    // Callers keep the low 32 bits of hashes made of small numbers (frets, strings, fingers).
    std::set<std::uint32_t> seen;
    for (std::uint32_t a = 0; a < 40; ++a) {
        for (std::uint32_t b = 0; b < 40; ++b) {
            for (std::uint32_t c = 0; c < 8; ++c) {
                seen.insert(static_cast<std::uint32_t>(hashOf({a, b, c})));
            }
        }
    }
    EXPECT_EQ(seen.size(), 40U * 40U * 8U);
}

TEST(TARVHasher, StringHashIsFixedAndDependsOnEveryCharacter) {
    constexpr std::string_view text = "EADGBE";
    EXPECT_EQ(TARVHashString(text.data(), text.size()), 0x412c02caae0618e5ULL);
    EXPECT_NE(TARVHashString("EADGBE", 6), TARVHashString("EADGBF", 6));
    EXPECT_NE(TARVHashString("AB", 2), TARVHashString("BA", 2));
    EXPECT_NE(TARVHashString("", 0), TARVHashString("E", 1));
}
