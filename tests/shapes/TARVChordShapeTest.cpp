#include "tarv/shapes/TARVChordShape.hpp"
#include "shapes/TARVFretListSupport.hpp"
#include "tarv/shapes/TARVBarreIndicator.hpp"
#include "tarv/shapes/TARVGeneralLog.hpp"
#include "tarv/shapes/TARVMutedFretIndicator.hpp"
#include "tarv/shapes/TARVOpenFretIndicator.hpp"

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <sstream>
#include <stdexcept>
#include <vector>

using namespace tarv;

namespace {

/// Frets of strings 0, 1, 2, ... in that order; -1 is muted.
std::vector<TARVFretIndicator> fretsByString(std::initializer_list<int> frets) {
    std::vector<TARVFretIndicator> indicators;
    std::uint8_t string = 0;
    for (const int fret : frets) {
        indicators.emplace_back(static_cast<std::int8_t>(fret), string++);
    }
    return indicators;
}

TARVChordShapePtr shapeAt(std::uint8_t baseFret, std::initializer_list<int> frets) {
    return TARVChordShape::shapeFromIndicatorArray(fretsByString(frets), baseFret);
}

std::vector<std::string> descriptions(const TARVChordShape& shape) {
    std::vector<std::string> result;
    for (const auto& indicator : shape.indicators()) {
        result.push_back(indicator.description());
    }
    return result;
}

/// Routes the library's general log into a string for the lifetime of the object.
class CapturedGeneralLog {
public:
    CapturedGeneralLog() : _previous(TARVGeneralLog::generalLog().sinks()) {
        auto sink = std::make_shared<spdlog::sinks::ostream_sink_mt>(_stream);
        sink->set_pattern("%v");
        TARVGeneralLog::generalLog().sinks() = {sink};
    }
    ~CapturedGeneralLog() { TARVGeneralLog::generalLog().sinks() = _previous; }
    CapturedGeneralLog(const CapturedGeneralLog&) = delete;
    CapturedGeneralLog& operator=(const CapturedGeneralLog&) = delete;
    std::string text() const { return _stream.str(); }

private:
    std::ostringstream _stream;
    std::vector<spdlog::sink_ptr> _previous;
};

/// Log messages in captured text: each starts with the message prefix.
int messageCount(const std::string& text) {
    int count = 0;
    for (auto at = text.find("Invalid chord shape encountered: "); at != std::string::npos;
         at = text.find("Invalid chord shape encountered: ", at + 1)) {
        ++count;
    }
    return count;
}

} // namespace

TEST(TARVChordShape, NewShapeIsEmptyWithZeroNumbers) {
    const TARVChordShape shape;
    EXPECT_TRUE(shape.indicators().empty());
    EXPECT_EQ(shape.baseFret(), 0);
    EXPECT_EQ(shape.baseString(), 0);
    EXPECT_EQ(shape.badness(), 0u);
}

TEST(TARVChordShape, FretZeroAtTheNutAddsAnOpenIndicator) {
    TARVChordShape shape;
    shape.addIndicatorForFret(0, 2);
    ASSERT_EQ(shape.indicators().size(), 1u);
    EXPECT_TRUE(shape.indicators()[0].isMemberOfClass(TARVIndicatorClass::Open));
    EXPECT_EQ(shape.indicators()[0].string(), 2);
}

TEST(TARVChordShape, FretZeroAboveTheNutAddsAFingerAtTheBaseFret) {
    TARVChordShape shape;
    shape.setBaseFret(5);
    shape.addIndicatorForFret(0, 2);
    ASSERT_EQ(shape.indicators().size(), 1u);
    EXPECT_TRUE(shape.indicators()[0].isMemberOfClass(TARVIndicatorClass::Fret));
    EXPECT_EQ(shape.indicators()[0].fret(), 0);
}

TEST(TARVChordShape, NegativeFretAddsAMutedIndicatorAndResetsTheHash) {
    TARVChordShape shape;
    shape.addIndicatorForFret(2, 0);
    const auto before = shape.hash();
    shape.addIndicatorForFret(-1, 4);
    ASSERT_EQ(shape.indicators().size(), 2u);
    EXPECT_TRUE(shape.indicators()[1].isMemberOfClass(TARVIndicatorClass::Muted));
    EXPECT_EQ(shape.indicators()[1].fret(), -1);
    // The hash is computed afresh from the new list.
    EXPECT_NE(shape.hash(), before);
}

TEST(TARVChordShape, AddingAFretOrOpenIndicatorKeepsTheCachedHash) {
    TARVChordShape shape;
    shape.addIndicatorForFret(2, 0);
    const auto before = shape.hash();
    shape.addIndicatorForFret(3, 1);
    shape.addOpenIndicatorForString(2);
    EXPECT_EQ(shape.hash(), before);
}

TEST(TARVChordShape, BuildingFromAListSetsClassesAndBaseString) {
    const std::vector<TARVFretIndicator> input{TARVFretIndicator(0, 0), TARVFretIndicator(1, 1),
                                               TARVFretIndicator(-1, 5)};
    const auto shape = TARVChordShape::shapeFromIndicatorArray(input, 0);
    ASSERT_EQ(shape->indicators().size(), 3u);
    EXPECT_TRUE(shape->indicators()[0].isMemberOfClass(TARVIndicatorClass::Open));
    EXPECT_TRUE(shape->indicators()[1].isMemberOfClass(TARVIndicatorClass::Fret));
    EXPECT_EQ(shape->indicators()[1].fret(), 1);
    EXPECT_TRUE(shape->indicators()[2].isMemberOfClass(TARVIndicatorClass::Muted));
    EXPECT_EQ(shape->indicators()[2].string(), 5);
    EXPECT_EQ(shape->baseString(), 1);
    EXPECT_EQ(shape->badness(), 0u);
}

TEST(TARVChordShape, BuildingFromAListTurnsABarreIntoAPlainIndicator) {
    const std::vector<TARVFretIndicator> input{TARVBarreIndicator(2, 1, 4)};
    const auto shape = TARVChordShape::shapeFromIndicatorArray(input, 0);
    ASSERT_EQ(shape->indicators().size(), 1u);
    EXPECT_TRUE(shape->indicators()[0].isMemberOfClass(TARVIndicatorClass::Fret));
    EXPECT_EQ(shape->indicators()[0].string(), 1);
}

TEST(TARVChordShape, InsertingTheSameIndicatorTwiceKeepsBothSideBySide) {
    TARVChordShape shape;
    shape.addIndicatorForFret(1, 0);
    shape.addIndicatorForFret(3, 2);
    shape.addIndicatorForFret(2, 1);
    shape.addIndicatorForFret(2, 1);
    ASSERT_EQ(shape.indicators().size(), 4u);
    EXPECT_EQ(descriptions(shape),
              (std::vector<std::string>{"string: 0, fret 1", "string: 1, fret 2",
                                        "string: 1, fret 2", "string: 2, fret 3"}));
}

TEST(TARVChordShape, EmptyShapeHasReachTwoAndLogsForStringCount) {
    const TARVChordShape shape;
    EXPECT_EQ(shape.reach(), 2);
    CapturedGeneralLog log;
    EXPECT_EQ(shape.stringCount(), 6);
    EXPECT_EQ(messageCount(log.text()), 1);
    EXPECT_EQ(log.text().rfind("Invalid chord shape encountered: Hash:[", 0), 0u) << log.text();
}

TEST(TARVChordShape, InvalidShapeIsLoggedToStandardErrorOnOneLine) {
    TARVChordShape shape;
    shape.addIndicatorForFret(3, 0);
    shape.addMutedIndicatorForString(0);
    {
        CapturedGeneralLog log;
        EXPECT_EQ(shape.stringCount(), 6);
        EXPECT_EQ(log.text().find('\n'), log.text().size() - 1) << log.text();
        EXPECT_NE(log.text().find("Indicators[2]: (string: 0, muted, string: 0, fret 3)"),
                  std::string::npos)
            << log.text();
    }
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(shape.stringCount(), 6);
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(out, "");
    EXPECT_EQ(messageCount(err), 1) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
}

TEST(TARVChordShape, ShapeOnStringZeroOnlyFallsBackToSixStrings) {
    TARVChordShape shape;
    shape.addIndicatorForFret(3, 0);
    CapturedGeneralLog log;
    EXPECT_EQ(shape.stringCount(), 6);
    EXPECT_EQ(messageCount(log.text()), 1);
}

TEST(TARVChordShape, StringCountTakesABarresEndString) {
    TARVChordShape shape;
    shape.setBaseFret(3);
    for (std::uint8_t string = 0; string <= 4; ++string) {
        shape.addIndicatorForFret(2, string);
    }
    shape._addSortedIndicator(TARVBarreIndicator(0, 0, 5));
    CapturedGeneralLog log;
    EXPECT_EQ(shape.stringCount(), 6);
    EXPECT_TRUE(log.text().empty());
}

TEST(TARVChordShape, StringCountCountsOpenAndMutedStrings) {
    const auto shape = shapeAt(0, {0, 1, -1, -1});
    EXPECT_EQ(shape->stringCount(), 4);
}

TEST(TARVChordShape, ShapesDifferingOnlyInBadnessAreEqualAndHashAlike) {
    const auto a = shapeAt(0, {0, 1, 0, 2, 3, -1});
    const auto b = shapeAt(0, {0, 1, 0, 2, 3, -1});
    a->setBadness(10);
    b->setBadness(20);
    EXPECT_TRUE(a->isEqualToShape(*b));
    EXPECT_TRUE(b->isEqual(*a));
    EXPECT_EQ(a->hash(), b->hash());
    EXPECT_EQ(a->compare(*b), -1);
    EXPECT_EQ(b->compare(*a), 1);
    b->setBadness(10);
    EXPECT_EQ(a->compare(*b), 0);
}

TEST(TARVChordShape, ShapesWithDifferentBaseFretsOrMarksAreUnequal) {
    EXPECT_FALSE(shapeAt(3, {0, 1, 2})->isEqualToShape(*shapeAt(4, {0, 1, 2})));
    EXPECT_FALSE(shapeAt(0, {0, 1, 2})->isEqualToShape(*shapeAt(0, {0, 1, 3})));
    EXPECT_FALSE(shapeAt(0, {0, 1, 2})->isEqualToShape(*shapeAt(0, {0, 1, 2, 2})));
}

TEST(TARVChordShape, CompareUsesUnsignedBadness) {
    TARVChordShape low;
    TARVChordShape high;
    low.setBadness(1);
    high.setBadness(0x8000000000000000ULL);
    EXPECT_EQ(low.compare(high), -1);
}

TEST(TARVChordShape, BarreFormsAboveTheNutAndReplacesStringsHeldAtTheBaseFret) {
    const auto shape = shapeAt(5, {0, 0, 1, 2, 2, 0});
    EXPECT_EQ(descriptions(*shape),
              (std::vector<std::string>{"Barre fret:0 start:0 end:5", "string: 2, fret 1",
                                        "string: 3, fret 2", "string: 4, fret 2"}));
}

TEST(TARVChordShape, MutedStringAboveTheHeldStringsDoesNotPreventTheBarre) {
    const auto shape = shapeAt(3, {0, 0, 2, 2, 1, -1});
    EXPECT_EQ(
        descriptions(*shape),
        (std::vector<std::string>{"Barre fret:0 start:0 end:1", "string: 2, fret 2",
                                  "string: 3, fret 2", "string: 4, fret 1", "string: 5, muted"}));
}

TEST(TARVChordShape, MutedStringBelowTheHeldStringsPreventsTheBarre) {
    const auto shape = shapeAt(3, {-1, 0, 0, 2});
    for (const auto& indicator : shape->indicators()) {
        EXPECT_FALSE(indicator.isBarre()) << indicator.description();
    }
    EXPECT_EQ(shape->indicators().size(), 4u);
}

TEST(TARVChordShape, BarreStartsAtTheLowestMarkedStringUnderAHigherFinger) {
    const auto shape = shapeAt(3, {2, 0, 0, 1});
    EXPECT_EQ(descriptions(*shape),
              (std::vector<std::string>{"Barre fret:0 start:0 end:2", "string: 0, fret 2",
                                        "string: 3, fret 1"}));
}

TEST(TARVChordShape, NoBarreIsEverFormedAtTheNut) {
    const auto shape = shapeAt(0, {1, 1, 1, 1, 1, 1});
    for (const auto& indicator : shape->indicators()) {
        EXPECT_FALSE(indicator.isBarre());
    }
    EXPECT_EQ(shape->indicators().size(), 6u);
}

TEST(TARVChordShape, OneStringAtTheBaseFretFormsNoBarre) {
    const auto shape = shapeAt(4, {0, 1, 2, 2});
    for (const auto& indicator : shape->indicators()) {
        EXPECT_FALSE(indicator.isBarre());
    }
}

TEST(TARVChordShape, BarreRuleClearsTheCachedHash) {
    TARVChordShape shape;
    shape.setBaseFret(2);
    shape.addIndicatorForFret(0, 0);
    shape.addIndicatorForFret(0, 1);
    const auto before = shape.hash();
    shape.addBarresAsNecessary();
    EXPECT_NE(shape.hash(), before);
}

TEST(TARVChordShape, BarreWalkUsesListPositionsBoundedByTheBarreLength) {
    // Marks on strings 2 and 3 at list positions 0 and 1: a barre from string 2 to 3 has length 2,
    // so the walk starts at position 2 and finds nothing to remove.
    TARVChordShape shape;
    shape.setBaseFret(4);
    shape.addIndicatorForFret(0, 2);
    shape.addIndicatorForFret(0, 3);
    shape.addIndicatorForFret(1, 4);
    shape.addBarreIndicatorForFret(0, 2, 3);
    EXPECT_EQ(descriptions(shape),
              (std::vector<std::string>{"string: 2, fret 0", "Barre fret:0 start:2 end:3",
                                        "string: 3, fret 0", "string: 4, fret 1"}));
}

TEST(TARVChordShape, BarreWalkBeyondTheListIsARangeError) {
    TARVChordShape shape;
    shape.setBaseFret(4);
    shape.addIndicatorForFret(0, 0);
    EXPECT_THROW(shape.addBarreIndicatorForFret(0, 0, 5), std::out_of_range);
}

TEST(TARVChordShape, BarreFretAbove127MatchesNoMark) {
    TARVChordShape shape;
    shape.setBaseFret(1);
    shape._addSortedIndicator(TARVFretIndicator(-56, 0));
    shape.addIndicatorForFret(3, 1);
    shape.addBarreIndicatorForFret(200, 0, 1);
    EXPECT_EQ(shape.indicators().size(), 3u);
}

TEST(TARVChordShape, ReachSpansTheFrettedMarks) {
    EXPECT_EQ(shapeAt(0, {2, 3, 4, 0, -1})->reach(), 3);
    EXPECT_EQ(shapeAt(5, {0, 0, 0})->reach(), 1);
    EXPECT_EQ(shapeAt(0, {0, -1, 0})->reach(), 2);
}

TEST(TARVChordShape, ReachIsNotRecomputedAfterLaterAdditions) {
    TARVChordShape shape;
    shape.addIndicatorForFret(2, 0);
    EXPECT_EQ(shape.reach(), 1);
    shape.addIndicatorForFret(5, 1);
    EXPECT_EQ(shape.reach(), 1);
}

TEST(TARVChordShape, HashIsCachedAndFollowsTheFieldsFedIn) {
    const auto a = shapeAt(0, {0, 1, 0, 2, 3, -1});
    const auto b = shapeAt(0, {0, 1, 0, 2, 3, -1});
    b->setBaseString(5);
    EXPECT_NE(a->hash(), b->hash());
    const auto cached = a->hash();
    a->setBaseFret(7);
    EXPECT_EQ(a->hash(), cached);
    EXPECT_LE(cached, 0xFFFFFFFFULL);
}

TEST(TARVChordShape, DescriptionFollowsTheFixedFormat) {
    const auto shape = shapeAt(0, {0, 1});
    shape->setBadness(42);
    const auto expected = "Hash:[" + std::to_string(shape->hash()) +
                          "] Badness:42 BaseString[1] BaseFret[0] Reach[1] Indicators[2]: "
                          "(\n    string: 0, open,\n    string: 1, fret 1\n)";
    EXPECT_EQ(shape->description(), expected);
}

TEST(TARVChordShape, DescriptionOfEmptyShape) {
    const TARVChordShape shape;
    EXPECT_EQ(shape.description(), "Hash:[" + std::to_string(shape.hash()) +
                                       "] Badness:0 BaseString[0] BaseFret[0] Reach[2] "
                                       "Indicators[0]: (\n)");
}

TEST(TARVChordShape, SupportsSecureCoding) {
    EXPECT_TRUE(TARVChordShape::supportsSecureCoding());
}

namespace {

void expectSameShape(const TARVChordShape& actual, const TARVChordShape& expected) {
    ASSERT_EQ(actual.indicators().size(), expected.indicators().size()) << expected.description();
    for (std::size_t i = 0; i < expected.indicators().size(); ++i) {
        EXPECT_TRUE(actual.indicators()[i].isIdenticalTo(expected.indicators()[i]))
            << expected.description();
    }
    EXPECT_EQ(actual.baseFret(), expected.baseFret());
    EXPECT_EQ(actual.baseString(), expected.baseString());
    EXPECT_EQ(actual.reach(), expected.reach());
    EXPECT_EQ(actual.hash(), expected.hash());
    EXPECT_EQ(actual.badness(), expected.badness());
}

} // namespace

TEST(TARVChordShape, FretListBuildsWhatTheIndicatorArrayBuilds) {
    // Every list of up to six strings with frets from muted to 3, at the nut and up the neck.
    for (std::size_t strings = 0; strings <= 6; ++strings) {
        test::forEveryFretList(strings, 3, [](std::span<const std::int8_t> frets) {
            for (const std::uint8_t fret : {0, 1, 7}) {
                expectSameShape(*TARVChordShape::shapeFromFretList(frets, fret),
                                *test::shapeFromIndicatorsOf(frets, fret));
            }
        });
    }
}

TEST(TARVChordShape, LongFretListBuildsWhatTheIndicatorArrayBuilds) {
    // Past 256 strings the string numbers wrap, and the marks are sorted as the array sorts them.
    std::vector<std::int8_t> frets(300, 2);
    frets[3] = -1;
    frets[260] = 0;
    frets[0] = 0;
    expectSameShape(*TARVChordShape::shapeFromFretList(frets, 5),
                    *test::shapeFromIndicatorsOf(frets, 5));
    frets.resize(256);
    expectSameShape(*TARVChordShape::shapeFromFretList(frets, 0),
                    *test::shapeFromIndicatorsOf(frets, 0));
}
