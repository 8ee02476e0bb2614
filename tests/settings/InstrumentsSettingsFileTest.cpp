#include "tarv/settings/NoteEntrySettings.hpp"
#include "tarv/settings/TARVSettingsConversions.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tarv {
namespace {

const NoteEntrySettings& instrumentsFile() {
    static const NoteEntrySettings settings = NoteEntrySettings::load(
        std::filesystem::path(TARV_SOURCE_DIR) / "resources" / "settings" / "instruments.plist");
    return settings;
}

const StringedInstrumentDescriptor& instrumentNamed(const std::string& name) {
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        if (instrument.name() == name) {
            return instrument;
        }
    }
    throw std::out_of_range("no instrument " + name);
}

const StringedInstrumentTuningDescriptor&
tuningNamed(const StringedInstrumentDescriptor& instrument, const std::string& name) {
    for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
        if (tuning.tuningName() == name) {
            return tuning;
        }
    }
    throw std::out_of_range("no tuning " + name + " of " + instrument.name());
}

std::size_t letterCount(const std::string& noteString) {
    return static_cast<std::size_t>(std::count_if(noteString.begin(), noteString.end(),
                                                  [](char c) { return c >= 'A' && c <= 'G'; }));
}

std::string asciiSpelling(std::string noteString) {
    std::replace(noteString.begin(), noteString.end(), 'b', '-');
    std::replace(noteString.begin(), noteString.end(), '#', '+');
    return noteString;
}

std::vector<SPitch> pitches(std::initializer_list<const char*> texts) {
    std::vector<SPitch> result;
    for (const char* text : texts) {
        result.push_back(*SPitch::pitchWithString(text));
    }
    return result;
}

TEST(InstrumentsSettingsFile, OffersTheCommonInstrumentsAndTunings) {
    const std::vector<std::pair<std::string, std::vector<std::string>>> expected{
        {"Guitar", {"Standard", "Drop D", "DADGAD", "Open G", "Open D", "Eb Standard"}},
        {"7-String Guitar", {"Standard"}},
        {"Bass", {"Standard"}},
        {"5-String Bass", {"Standard"}},
        {"Ukulele", {"Standard", "Baritone"}},
        {"Mandolin", {"Standard"}},
        {"Banjo", {"Open G"}},
    };
    for (const auto& [instrumentName, tuningNames] : expected) {
        const StringedInstrumentDescriptor& instrument = instrumentNamed(instrumentName);
        for (const std::string& tuningName : tuningNames) {
            EXPECT_NO_THROW(tuningNamed(instrument, tuningName))
                << instrumentName << " lacks " << tuningName;
        }
    }
}

TEST(InstrumentsSettingsFile, NamesAreUnique) {
    std::set<std::string> instrumentNames;
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        EXPECT_TRUE(instrumentNames.insert(instrument.name()).second) << instrument.name();
        std::set<std::string> tuningNames;
        for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
            EXPECT_TRUE(tuningNames.insert(tuning.tuningName()).second)
                << instrument.name() << ": " << tuning.tuningName();
        }
    }
}

TEST(InstrumentsSettingsFile, EveryTuningHasOneNotePerLetterOfItsNoteString) {
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        ASSERT_FALSE(instrument.tunings().empty()) << instrument.name();
        const std::size_t stringCount = instrument.tunings()[0].notes().size();
        for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
            const std::string where = instrument.name() + " " + tuning.tuningName();
            EXPECT_GE(tuning.notes().size(), 4u) << where;
            EXPECT_EQ(tuning.notes().size(), letterCount(tuning.noteString())) << where;
            EXPECT_EQ(tuning.notes().size(), stringCount) << where << ": string count";
            EXPECT_FALSE(tuning.stringOrderTransform().has_value()) << where;
        }
    }
}

TEST(InstrumentsSettingsFile, EveryTuningBecomesATuningSpelledAsItsNoteString) {
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
            const std::string where = instrument.name() + " " + tuning.tuningName();
            for (const PitchDescriptor& note : tuning.notes()) {
                ASSERT_TRUE(SNote::noteWithString(note.noteName())) << where;
                ASSERT_GE(note.octave(), 0) << where;
                ASSERT_LE(note.octave(), 8) << where;
            }
            const auto description = descriptionWithDescriptor(instrument, tuning, 0);
            // The note string lists the strings from the last to the first.
            EXPECT_EQ(description->tuning()->asciiNoteString(), asciiSpelling(tuning.noteString()))
                << where;
            EXPECT_EQ(description->instrumentName(), instrument.name());
        }
    }
}

TEST(InstrumentsSettingsFile, StringsDescendInPitchFromTheFirstStringDownToTheLastButOne) {
    // Only the last string may break the order: the re-entrant G of a ukulele and the short
    // fifth string of a banjo sound higher than the strings before them.
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        for (const StringedInstrumentTuningDescriptor& tuning : instrument.tunings()) {
            const auto built = tuningWithDescriptor(tuning, instrument, 0);
            const std::vector<SPitch>& open = built->stringPitches();
            for (std::size_t string = 1; string + 1 < open.size(); ++string) {
                EXPECT_LT(open[string].offsetFromPitch(open[string - 1]), 0)
                    << instrument.name() << " " << tuning.tuningName() << " string " << string;
            }
        }
    }
}

TEST(InstrumentsSettingsFile, KnownTuningsHaveTheirPitches) {
    const auto& guitar = instrumentNamed("Guitar");
    EXPECT_EQ(tuningWithDescriptor(tuningNamed(guitar, "Standard"), guitar, 0)->stringPitches(),
              pitches({"E4", "B3", "G3", "D3", "A2", "E2"}));
    EXPECT_EQ(tuningWithDescriptor(tuningNamed(guitar, "DADGAD"), guitar, 0)->stringPitches(),
              pitches({"D4", "A3", "G3", "D3", "A2", "D2"}));
    const auto& ukulele = instrumentNamed("Ukulele");
    EXPECT_EQ(tuningWithDescriptor(tuningNamed(ukulele, "Standard"), ukulele, 0)->stringPitches(),
              pitches({"A4", "E4", "C4", "G4"}));
    EXPECT_EQ(tuningNamed(ukulele, "Standard").noteString(), "GCEA");
    const auto& bass = instrumentNamed("Bass");
    EXPECT_EQ(tuningWithDescriptor(tuningNamed(bass, "Standard"), bass, 0)->stringPitches(),
              pitches({"G2", "D2", "A1", "E1"}));
    const auto& banjo = instrumentNamed("Banjo");
    EXPECT_EQ(tuningWithDescriptor(tuningNamed(banjo, "Open G"), banjo, 0)->stringPitches(),
              pitches({"D4", "B3", "G3", "D3", "G4"}));
}

TEST(InstrumentsSettingsFile, FretCountsAndCapoPositionsAreThoseOfRealInstruments) {
    for (const StringedInstrumentDescriptor& instrument :
         instrumentsFile().tablature().instruments()) {
        EXPECT_GE(instrument.frets(), 12) << instrument.name();
        EXPECT_LE(instrument.frets(), 24) << instrument.name();
        ASSERT_FALSE(instrument.capos().empty()) << instrument.name();
        std::int64_t previous = -1;
        for (const std::string& capo : instrument.capos()) {
            const std::int64_t position = std::stoll(capo);
            EXPECT_EQ(std::to_string(position), capo) << instrument.name();
            EXPECT_GT(position, previous) << instrument.name();
            EXPECT_LE(position, 12) << instrument.name();
            EXPECT_LT(position, instrument.frets()) << instrument.name();
            previous = position;
        }
        EXPECT_EQ(instrument.capos().front(), "0") << instrument.name();
    }
    EXPECT_EQ(instrumentNamed("Guitar").frets(), 22);
}

} // namespace
} // namespace tarv
