#include "tarv/settings/StringedInstrumentDescriptor.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tarv {
namespace {

StringedInstrumentDescriptor bass() {
    return StringedInstrumentDescriptor(
        "Bass", 20, {"0", "1", "2"},
        {StringedInstrumentTuningDescriptor("Standard", "EADG",
                                            {{"G", 2}, {"D", 2}, {"A", 1}, {"E", 1}})});
}

TEST(StringedInstrumentDescriptor, MemberwiseConstructorKeepsTheFields) {
    const StringedInstrumentDescriptor instrument = bass();
    EXPECT_EQ(instrument.name(), "Bass");
    EXPECT_EQ(instrument.frets(), 20);
    EXPECT_EQ(instrument.capos(), (std::vector<std::string>{"0", "1", "2"}));
    ASSERT_EQ(instrument.tunings().size(), 1u);
    EXPECT_EQ(instrument.tunings()[0].noteString(), "EADG");
}

TEST(StringedInstrumentDescriptor, EveryConstructionMakesANewId) {
    const StringedInstrumentDescriptor first = bass();
    const StringedInstrumentDescriptor second = bass();
    EXPECT_NE(first.id(), second.id());
    EXPECT_FALSE(first == second);
    EXPECT_NE(first.hash(), second.hash());
}

TEST(StringedInstrumentDescriptor, CopiesAreEqualAndHashAlike) {
    const StringedInstrumentDescriptor instrument = bass();
    const StringedInstrumentDescriptor copy = instrument;
    EXPECT_TRUE(copy == instrument);
    EXPECT_EQ(copy.hash(), instrument.hash());
    EXPECT_EQ(std::hash<StringedInstrumentDescriptor>()(copy), instrument.hash());
    const std::unordered_set<StringedInstrumentDescriptor> set{instrument, copy, bass()};
    EXPECT_EQ(set.size(), 2u);
}

TEST(StringedInstrumentDescriptor, IdIsAFreshRandomUUID) {
    const StringedInstrumentDescriptor instrument = bass();
    const std::string text = instrument.id().string();
    ASSERT_EQ(text.size(), 36u);
    EXPECT_EQ(text[8], '-');
    EXPECT_EQ(text[14], '4') << "version 4: " << text;
    EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << "variant: " << text;
}

} // namespace
} // namespace tarv
