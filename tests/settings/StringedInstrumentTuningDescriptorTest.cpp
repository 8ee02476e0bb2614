#include "tarv/settings/StringedInstrumentTuningDescriptor.hpp"

#include "settings/TARVSettingsHashing.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace tarv {
namespace {

StringedInstrumentTuningDescriptor dropD(std::optional<std::vector<std::int64_t>> transform) {
    return StringedInstrumentTuningDescriptor(
        "Drop D", "DADGBE", {{"E", 4}, {"B", 3}, {"G", 3}, {"D", 3}, {"A", 2}, {"D", 2}},
        std::move(transform));
}

TEST(StringedInstrumentTuningDescriptor, MemberwiseConstructorKeepsTheFields) {
    const auto tuning = dropD(std::vector<std::int64_t>{5, 4, 3, 2, 1, 0});
    EXPECT_EQ(tuning.tuningName(), "Drop D");
    EXPECT_EQ(tuning.noteString(), "DADGBE");
    ASSERT_EQ(tuning.notes().size(), 6u);
    EXPECT_EQ(tuning.notes()[5], PitchDescriptor("D", 2));
    EXPECT_EQ(tuning.stringOrderTransform(),
              (std::optional<std::vector<std::int64_t>>{{5, 4, 3, 2, 1, 0}}));
}

TEST(StringedInstrumentTuningDescriptor, EveryConstructionMakesANewId) {
    const auto first = dropD(std::nullopt);
    const auto second = dropD(std::nullopt);
    EXPECT_NE(first.id(), second.id());
    EXPECT_FALSE(first == second);
    EXPECT_NE(first.hash(), second.hash());
}

TEST(StringedInstrumentTuningDescriptor, CopiesAreEqualAndHashAlike) {
    const auto tuning = dropD(std::vector<std::int64_t>{});
    const StringedInstrumentTuningDescriptor copy = tuning;
    EXPECT_TRUE(copy == tuning);
    EXPECT_EQ(copy.id(), tuning.id());
    EXPECT_EQ(copy.hash(), tuning.hash());
    EXPECT_EQ(std::hash<StringedInstrumentTuningDescriptor>()(copy), tuning.hash());
    const std::unordered_set<StringedInstrumentTuningDescriptor> set{tuning, copy, dropD({})};
    EXPECT_EQ(set.size(), 2u);
}

/// The hash of `tuning` fed by hand, as if its id were `id`: id, name, note string, the notes'
/// count and each note's name and octave, then the transform's marker, count and entries.
std::uint64_t expectedHash(const StringedInstrumentTuningDescriptor& tuning, const TARVUUID& id) {
    using namespace settings_hashing;
    TARVHasher hasher = TARVHasherCreate();
    addUUID(&hasher, id);
    addString(&hasher, tuning.tuningName());
    addString(&hasher, tuning.noteString());
    addUInt64(&hasher, tuning.notes().size());
    for (const PitchDescriptor& note : tuning.notes()) {
        addString(&hasher, note.noteName());
        addInt64(&hasher, note.octave());
    }
    if (!tuning.stringOrderTransform()) {
        TARVHasherAddUnsignedInt(&hasher, 0);
    } else {
        TARVHasherAddUnsignedInt(&hasher, 1);
        addUInt64(&hasher, tuning.stringOrderTransform()->size());
        for (const std::int64_t entry : *tuning.stringOrderTransform()) {
            addInt64(&hasher, entry);
        }
    }
    return TARVHasherGetResult(&hasher);
}

TEST(StringedInstrumentTuningDescriptor, HashFeedsTheFieldsInOrderWithAMarkerForTheTransform) {
    for (const auto& transform : {std::optional<std::vector<std::int64_t>>(),
                                  std::optional<std::vector<std::int64_t>>(std::in_place),
                                  std::optional<std::vector<std::int64_t>>({5, 4, 3, 2, 1, 0})}) {
        const auto tuning = dropD(transform);
        EXPECT_EQ(tuning.hash(), expectedHash(tuning, tuning.id()));
    }
}

TEST(StringedInstrumentTuningDescriptor, AbsentAndEmptyTransformAreDistinct) {
    const auto absent = dropD(std::nullopt);
    const auto empty = dropD(std::vector<std::int64_t>{});
    EXPECT_FALSE(absent.stringOrderTransform().has_value());
    ASSERT_TRUE(empty.stringOrderTransform().has_value());
    EXPECT_TRUE(empty.stringOrderTransform()->empty());
    EXPECT_NE(absent.stringOrderTransform(), empty.stringOrderTransform());

    // Under one identifier the two differ, in their hash, only through the transform.
    EXPECT_EQ(absent.hash(), expectedHash(absent, absent.id()));
    EXPECT_NE(absent.hash(), expectedHash(empty, absent.id()));
}

} // namespace
} // namespace tarv
