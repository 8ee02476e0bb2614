#include "TARVCacheTestSupport.hpp"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace tarv;
using tarv::test::CapturedCacheLog;
using tarv::test::ScratchResources;

// The test program presents TARV_GUITAR_SHAPE_CACHE_DEBUG with an empty value from its start.
TEST(TARVGuitarLog, EmptyVariablePresentAtTheStartEnablesTheLog) {
    ASSERT_NE(std::getenv("TARV_GUITAR_SHAPE_CACHE_DEBUG"), nullptr);
    ScratchResources resources;
    TARVChordShapeCache cache;
    CapturedCacheLog log;
    cache.addShapes({}, *SChord::chordWithString("C"),
                    *SStringedInstrumentTuning::stringedInstrumentTuning());
    EXPECT_EQ(log.count("[info] using key "), 1);
    EXPECT_EQ(log.count("[error] Trying to Add 0 shapes for key "), 1);
    EXPECT_EQ(&TARVGuitarLog::shapeCacheLog(), &TARVGuitarLog::shapeCacheLog());
}

TEST(TARVGuitarLog, AbsentVariableDisablesTheLogWhateverIsSetLater) {
    ::setenv("TARV_TEST_CACHE_LOG", "absent", 1);
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // The child process starts without the variable, asks for the log, then sets it.
    EXPECT_EXIT(
        {
            if (std::getenv("TARV_GUITAR_SHAPE_CACHE_DEBUG") != nullptr) {
                std::exit(3);
            }
            auto& cacheLog = TARVGuitarLog::shapeCacheLog();
            ::setenv("TARV_GUITAR_SHAPE_CACHE_DEBUG", "1", 1);
            ScratchResources resources;
            TARVChordShapeCache cache;
            CapturedCacheLog log;
            cache.addShapes({}, *SChord::chordWithString("C"),
                            *SStringedInstrumentTuning::stringedInstrumentTuning());
            std::exit(log.text().empty() && &cacheLog == &TARVGuitarLog::shapeCacheLog() ? 0 : 4);
        },
        ::testing::ExitedWithCode(0), "");
    ::unsetenv("TARV_TEST_CACHE_LOG");
}
