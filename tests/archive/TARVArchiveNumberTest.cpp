#include "tarv/archive/TARVArchiveNumber.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace tarv {
namespace {

TEST(TARVArchiveNumber, KindFollowsTheConstructingType) {
    EXPECT_EQ(TARVArchiveNumber(std::int8_t{-1}).kind(), TARVArchiveNumber::Kind::Signed);
    EXPECT_EQ(TARVArchiveNumber(std::uint16_t{1}).kind(), TARVArchiveNumber::Kind::Unsigned);
    EXPECT_EQ(TARVArchiveNumber(0.5).kind(), TARVArchiveNumber::Kind::Real);
    EXPECT_EQ(TARVArchiveNumber(true).kind(), TARVArchiveNumber::Kind::Boolean);
}

TEST(TARVArchiveNumber, NarrowReadsTruncateToTheirWidth) {
    const TARVArchiveNumber number(std::uint32_t{0x1FF});
    EXPECT_EQ(number.unsignedCharValue(), 0xFF);
    EXPECT_EQ(number.charValue(), -1);
    EXPECT_EQ(number.unsignedShortValue(), 0x1FF);
    EXPECT_EQ(TARVArchiveNumber(std::int64_t{-1}).unsignedIntValue(), 0xFFFFFFFFu);
    EXPECT_EQ(TARVArchiveNumber(std::int8_t{-1}).unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
}

TEST(TARVArchiveNumber, RealsTruncateTowardZeroAndSaturate) {
    EXPECT_EQ(TARVArchiveNumber(-2.9).longLongValue(), -2);
    EXPECT_EQ(TARVArchiveNumber(1e300).unsignedLongLongValue(),
              std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(TARVArchiveNumber(-1e300).longLongValue(), std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(TARVArchiveNumber(std::nan("")).longLongValue(), 0);
    EXPECT_EQ(TARVArchiveNumber(1.8e19).unsignedLongLongValue(), 18000000000000000000ULL);
}

TEST(TARVArchiveNumber, UnsignedAboveTheSignedRangeKeepsItsValueAsReal) {
    const TARVArchiveNumber number(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(number.longLongValue(), -1);
    EXPECT_GT(number.doubleValue(), 1.8e19);
}

TEST(TARVArchiveNumber, EqualityComparesKindAndValue) {
    EXPECT_EQ(TARVArchiveNumber(5), TARVArchiveNumber(std::int64_t{5}));
    EXPECT_NE(TARVArchiveNumber(5), TARVArchiveNumber(5u));
    EXPECT_NE(TARVArchiveNumber(1), TARVArchiveNumber(true));
    EXPECT_EQ(TARVArchiveNumber(0.5), TARVArchiveNumber(0.5f));
}

TEST(TARVArchiveNumber, DescribesItsValue) {
    EXPECT_EQ(TARVArchiveNumber(std::int16_t{-3}).description(), "-3");
    EXPECT_EQ(TARVArchiveNumber(std::numeric_limits<std::uint64_t>::max()).description(),
              "18446744073709551615");
    EXPECT_EQ(TARVArchiveNumber(false).description(), "false");
    EXPECT_EQ(TARVArchiveNumber(0.5).description(), "0.5");
}

} // namespace
} // namespace tarv
