#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableOptions.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tarv::tool {

/// A tuning for which the library ships a shape cache file.
struct ShippedTuning {
    std::string instrument;
    std::string name;
    /// Open strings from the lowest to the highest, as players write them ("E2 A2 D3 G3 B3 E4").
    std::string pitches;
    /// The frets of the instrument's neck; the search uses them all.
    int fretCount = 0;
    /// The instrument's scale length in millimetres, by which the ranking measures stretches.
    double scaleLength = 648.0;
    /// The fret at which each string starts, by string number (string 0 is the last of
    /// `pitches`); empty or 0 is the nut. The banjo's short fifth string starts at fret 5.
    std::vector<std::uint8_t> stringStartFrets;
};

/// The tunings of the shipped shape cache files, in the order they are built. A file is named
/// by the tuning's note string, which has no octaves: a tuning whose note string an earlier one
/// already has (low-G ukulele after the re-entrant one) is served by that tuning's file, which
/// holds fret patterns that play each chord on both.
const std::vector<ShippedTuning>& shippedTunings();

/// The tuning object of `tuning`.
SStringedInstrumentTuningPtr tuningForShippedTuning(const ShippedTuning& tuning);

/// The options of the playable ranking for `tuning`: its scale length and the frets its strings
/// start at, the ranking's defaults otherwise.
TARVPlayableOptions playableOptionsForShippedTuning(const ShippedTuning& tuning);

/// A chord of the catalogue and the symbol that names it in the files.
struct CatalogueChord {
    /// A symbol that `SChord::chordWithString` reads back as `chord` ("C#m7", "C/E").
    std::string name;
    SChordPtr chord;
};

/// The chords of every shape cache file: for each root from C to B, every supported quality in
/// the library's order, then the major and the minor triad over their third and over their fifth.
/// Roots and basses are spelled C C# D Eb E F F# G Ab A Bb B. A quality that reads as the same
/// chord as an earlier one ("7b13" and "7#5") gives no second entry.
std::vector<CatalogueChord> chordCatalogue();

/// One file of well-known chord shapes: chord names with their absolute frets, the first fret
/// being that of the first string of `tuning`.
struct WellKnownShapeFile {
    std::filesystem::path path;
    /// The open strings as the file lists them.
    std::vector<SPitch> tuning;
    struct Entry {
        std::string name;
        std::vector<std::int64_t> frets;
    };
    std::vector<Entry> entries;
};

/// Every "*.json" file of well-known shapes in `directory`, in file name order. Throws InputError
/// when the folder cannot be read or a file does not have the expected form.
std::vector<WellKnownShapeFile> readWellKnownShapeFiles(const std::filesystem::path& directory);

/// What `build-cache` writes.
struct ShapeCacheBuild {
    struct TuningFile {
        /// "EADGBE.shapecache"
        std::string fileName;
        /// The tuning dictionary: "asciiNoteString" and "chords".
        nlohmann::json dictionary;
    };
    std::vector<TuningFile> tuningFiles;
    /// The curated shapes: a list of tuning dictionaries of the well-known shapes whose chords
    /// are not in the catalogue.
    nlohmann::json curatedShapes;
};

/// Builds the tuning dictionary of every tuning of `tunings` (one per note string: the first
/// tuning of a note string builds its file) and the curated shapes. A chord's shapes are the
/// well-known shapes listed for its tuning (those that play the chord, in their order), then the
/// shapes of the playable ranking in its order, each shape once. A chord for which the ranking
/// finds nothing holds the generated shapes instead, as the cached entry would generate them,
/// except on a neck with strings that start above the nut, which the generator does not know.
ShapeCacheBuild buildShapeCaches(const std::vector<ShippedTuning>& tunings,
                                 const std::vector<WellKnownShapeFile>& wellKnownShapes);

/// The UTF-8 JSON text of a shape cache file, before compression.
std::string shapeCacheJsonText(const nlohmann::json& tuningDictionary);

/// The UTF-8 JSON text of the curated shapes file: one chord a line.
std::string curatedShapesText(const nlohmann::json& curatedShapes);

} // namespace tarv::tool
