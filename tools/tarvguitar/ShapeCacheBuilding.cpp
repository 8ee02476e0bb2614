#include "ShapeCacheBuilding.hpp"

#include "InputReading.hpp"

#include "tarv/generation/TARVChordShapeGenerator.hpp"
#include "tarv/ranking/TARVPlayableShapes.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <stdexcept>
#include <system_error>
#include <unordered_map>

namespace tarv::tool {

namespace {

constexpr const char* kRootSpellings[12] = {"C",  "C#", "D",  "Eb", "E",  "F",
                                            "F#", "G",  "Ab", "A",  "Bb", "B"};
constexpr int kMajorThird = 4;
constexpr int kMinorThird = 3;
constexpr int kFifth = 7;

std::string quoted(const std::string& text) {
    return "\"" + text + "\"";
}

SChordPtr catalogueChord(const std::string& name) {
    SChordPtr chord = SChord::chordWithString(name);
    if (!chord) {
        throw std::logic_error("the chord catalogue holds " + quoted(name) +
                               ", which does not read as a chord");
    }
    return chord;
}

/// Shapes in order of arrival, each kept once (shape equality).
class ShapeList {
public:
    void add(const TARVChordShapePtr& shape) {
        const std::uint64_t hash = shape->hash();
        const bool present = std::any_of(_shapes.begin(), _shapes.end(), [&](const auto& held) {
            return held->hash() == hash && held->isEqual(*shape);
        });
        if (!present) {
            _shapes.push_back(shape);
        }
    }
    bool empty() const noexcept { return _shapes.empty(); }

    nlohmann::json serialization() const {
        nlohmann::json shapes = nlohmann::json::array();
        for (const TARVChordShapePtr& shape : _shapes) {
            shapes.push_back(shape->serializationDictionary());
        }
        return shapes;
    }

private:
    std::vector<TARVChordShapePtr> _shapes;
};

/// The well-known shapes of one tuning, by chord.
struct WellKnownChord {
    /// The first name under which the chord is listed.
    std::string name;
    SChordPtr chord;
    std::vector<TARVChordShapePtr> shapes;
};

/// The open strings of `tuning` from the lowest-listed to the highest-listed: string 0 last.
std::vector<SPitch> listedPitches(const SStringedInstrumentTuning& tuning) {
    std::vector<SPitch> pitches = tuning.stringPitches();
    std::reverse(pitches.begin(), pitches.end());
    return pitches;
}

/// The shape of absolute `frets` given in the order of the tuning's listed strings, or none when
/// the frets do not fit the tuning.
TARVChordShapePtr shapeForListedFrets(const std::vector<std::int64_t>& frets,
                                      const SStringedInstrumentTuning& tuning) {
    if (frets.size() != tuning.stringCount()) {
        return nullptr;
    }
    std::vector<std::int64_t> byString(frets.rbegin(), frets.rend());
    const bool anySounding =
        std::any_of(byString.begin(), byString.end(), [](std::int64_t fret) { return fret >= 0; });
    const bool onTheNeck = std::all_of(byString.begin(), byString.end(), [&](std::int64_t fret) {
        return fret < 0 ? fret == -1 : fret <= tuning.fretCount();
    });
    if (!anySounding || !onTheNeck) {
        return nullptr;
    }
    return TARVChordShape::shapeForFretNumberArray(byString);
}

/// The well-known shapes that `files` list for `tuning`, by chord, in order of first listing.
std::vector<WellKnownChord> wellKnownChords(const std::vector<WellKnownShapeFile>& files,
                                            const SStringedInstrumentTuning& tuning) {
    const std::vector<SPitch> pitches = listedPitches(tuning);
    std::vector<WellKnownChord> chords;
    std::unordered_map<std::string, std::size_t> positions;
    for (const WellKnownShapeFile& file : files) {
        if (file.tuning != pitches) {
            continue;
        }
        for (const WellKnownShapeFile::Entry& entry : file.entries) {
            const SChordPtr chord = SChord::chordWithString(entry.name);
            if (!chord) {
                continue;
            }
            const TARVChordShapePtr shape = shapeForListedFrets(entry.frets, tuning);
            if (!shape) {
                continue;
            }
            const auto [position, added] =
                positions.emplace(chord->numericNoteStringValue(), chords.size());
            if (added) {
                chords.push_back({entry.name, chord, {}});
            }
            chords[position->second].shapes.push_back(shape);
        }
    }
    return chords;
}

/// Whether the generator knows the neck of `options`: it takes every string to start at the nut.
bool generatorKnowsTheNeck(const TARVPlayableOptions& options) {
    return std::all_of(options.stringStartFrets.begin(), options.stringStartFrets.end(),
                       [](std::uint8_t fret) { return fret == 0; });
}

/// Whether `shape` is a voicing of the chord: the playable search allows it, or the generator
/// holds it valid (a well-known shape may lie outside the search's span or drop a tone that the
/// search keeps). `generator` is null where it does not know the neck.
bool playsChord(const TARVChordShape& shape, const SChordPtr& chord,
                const SStringedInstrumentTuningPtr& tuning,
                const TARVChordShapeGenerator* generator, const TARVPlayableOptions& options) {
    const std::vector<std::int8_t> frets =
        TARVPlayableShapes::fretsForChordShape(shape, tuning->stringCount());
    return TARVPlayableShapes::isAllowed(frets, chord, tuning, options) ||
           (generator != nullptr && generator->isValidChordShape(shape));
}

/// The generator of `chord` in `tuning` where it knows the neck of `options`, otherwise null.
TARVChordShapeGeneratorPtr generatorFor(const SChordPtr& chord,
                                        const SStringedInstrumentTuningPtr& tuning,
                                        const TARVPlayableOptions& options) {
    return generatorKnowsTheNeck(options)
               ? TARVChordShapeGenerator::initUncachedWithChord(chord, tuning)
               : nullptr;
}

/// The shapes of `chord` in `tuning`: the well-known ones that play it, then the ranked ones in
/// the ranking's order. Where the ranking finds nothing, the generated shapes, which the cached
/// entry would otherwise generate on its first lookup.
ShapeList shapesForChord(const SChordPtr& chord, const SStringedInstrumentTuningPtr& tuning,
                         const TARVPlayableOptions& options,
                         const std::vector<TARVChordShapePtr>& wellKnown) {
    const TARVChordShapeGeneratorPtr generator = generatorFor(chord, tuning, options);
    ShapeList shapes;
    for (const TARVChordShapePtr& shape : wellKnown) {
        if (playsChord(*shape, chord, tuning, generator.get(), options)) {
            shapes.add(shape);
        }
    }
    const std::vector<TARVPlayableShape> ranked =
        TARVPlayableShapes::shapesForChord(chord, tuning, options);
    for (const TARVPlayableShape& shape : ranked) {
        if (const TARVChordShapePtr chordShape = shape.chordShape()) {
            shapes.add(chordShape);
        }
    }
    if (ranked.empty() && generator && generator->shapes()) {
        for (const TARVChordShapePtr& shape : *generator->shapes()) {
            shapes.add(shape);
        }
    }
    return shapes;
}

/// The well-known shapes of `chord` in `tuning` that play it.
ShapeList validShapes(const WellKnownChord& chord, const SStringedInstrumentTuningPtr& tuning,
                      const TARVPlayableOptions& options) {
    // The generator is made for its validity check only; its generated shapes are not used.
    const TARVChordShapeGeneratorPtr generator = generatorFor(chord.chord, tuning, options);
    ShapeList shapes;
    for (const TARVChordShapePtr& shape : chord.shapes) {
        if (playsChord(*shape, chord.chord, tuning, generator.get(), options)) {
            shapes.add(shape);
        }
    }
    return shapes;
}

const nlohmann::json& member(const nlohmann::json& object, const char* key,
                             const std::filesystem::path& path) {
    if (!object.is_object() || !object.contains(key)) {
        throw InputError("the well-known shapes file " + quoted(path.string()) + " has no " +
                         quoted(key));
    }
    return object.at(key);
}

WellKnownShapeFile readWellKnownShapeFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        throw InputError("cannot read the well-known shapes file " + quoted(path.string()));
    }
    nlohmann::json document;
    try {
        document = nlohmann::json::parse(std::istreambuf_iterator<char>(stream),
                                         std::istreambuf_iterator<char>());
    } catch (const nlohmann::json::exception& error) {
        throw InputError("the well-known shapes file " + quoted(path.string()) +
                         " is not JSON: " + error.what());
    }

    WellKnownShapeFile file;
    file.path = path;
    try {
        for (const nlohmann::json& pitchText : member(document, "tuning", path)) {
            const std::string text = pitchText.get<std::string>();
            const std::optional<SPitch> pitch = SPitch::pitchWithString(text);
            if (!pitch) {
                throw InputError("the well-known shapes file " + quoted(path.string()) +
                                 " lists the unreadable pitch " + quoted(text));
            }
            file.tuning.push_back(*pitch);
        }
        // A later entry of the same name replaces an earlier one.
        std::unordered_map<std::string, std::size_t> positions;
        for (const nlohmann::json& chord : member(document, "chords", path)) {
            WellKnownShapeFile::Entry entry;
            entry.name = member(chord, "name", path).get<std::string>();
            entry.frets = member(chord, "frets_abs", path).get<std::vector<std::int64_t>>();
            const auto [position, added] = positions.emplace(entry.name, file.entries.size());
            if (added) {
                file.entries.push_back(std::move(entry));
            } else {
                file.entries[position->second] = std::move(entry);
            }
        }
    } catch (const nlohmann::json::exception& error) {
        throw InputError("the well-known shapes file " + quoted(path.string()) +
                         " has an entry of the wrong form: " + error.what());
    }
    return file;
}

} // namespace

const std::vector<ShippedTuning>& shippedTunings() {
    // Scale lengths: guitar 648 mm (25.5"), bass 864 mm (34"), soprano ukulele and mandolin
    // about 350 mm, baritone ukulele about 480 mm (19"), 5-string banjo about 670 mm.
    static const std::vector<ShippedTuning> tunings{
        {"Guitar", "Standard", "E2 A2 D3 G3 B3 E4", 22, 648, {}},
        {"Guitar", "Drop D", "D2 A2 D3 G3 B3 E4", 22, 648, {}},
        {"Guitar", "DADGAD", "D2 A2 D3 G3 A3 D4", 22, 648, {}},
        {"Guitar", "Open G", "D2 G2 D3 G3 B3 D4", 22, 648, {}},
        {"Guitar", "Open D", "D2 A2 D3 F#3 A3 D4", 22, 648, {}},
        {"Guitar", "Eb Standard", "Eb2 Ab2 Db3 Gb3 Bb3 Eb4", 22, 648, {}},
        {"7-String Guitar", "Standard", "B1 E2 A2 D3 G3 B3 E4", 24, 648, {}},
        {"Bass", "Standard", "E1 A1 D2 G2", 20, 864, {}},
        {"5-String Bass", "Standard", "B0 E1 A1 D2 G2", 24, 864, {}},
        {"Ukulele", "Standard", "G4 C4 E4 A4", 18, 350, {}},
        {"Ukulele", "Low G", "G3 C4 E4 A4", 18, 350, {}},
        {"Ukulele", "D Tuning", "A4 D4 F#4 B4", 18, 350, {}},
        {"Ukulele", "Baritone", "D3 G3 B3 E4", 18, 480, {}},
        {"Mandolin", "Standard", "G3 D4 A4 E5", 20, 350, {}},
        // gDGBD: the short fifth string starts at the fifth fret.
        {"Banjo", "Open G", "G4 D3 G3 B3 D4", 22, 670, {0, 0, 0, 0, 5}},
    };
    return tunings;
}

SStringedInstrumentTuningPtr tuningForShippedTuning(const ShippedTuning& tuning) {
    TuningRequest request;
    request.pitches = tuning.pitches;
    request.name = tuning.name;
    request.fretCount = tuning.fretCount;
    return tuningForRequest(request);
}

TARVPlayableOptions playableOptionsForShippedTuning(const ShippedTuning& tuning) {
    TARVPlayableOptions options;
    options.scaleLength = tuning.scaleLength;
    options.stringStartFrets = tuning.stringStartFrets;
    return options;
}

std::vector<CatalogueChord> chordCatalogue() {
    std::vector<CatalogueChord> catalogue;
    std::set<std::string> keys;
    const auto add = [&](const std::string& name) {
        SChordPtr chord = catalogueChord(name);
        if (keys.insert(chord->numericNoteStringValue()).second) {
            catalogue.push_back({name, std::move(chord)});
        }
    };
    for (int root = 0; root < 12; ++root) {
        const std::string rootName = kRootSpellings[root];
        for (const std::string& quality : SChord::supportedQualities()) {
            add(rootName + quality);
        }
        const auto bass = [&](int interval) {
            return kRootSpellings[(root + interval) % 12];
        };
        add(rootName + "/" + bass(kMajorThird));
        add(rootName + "/" + bass(kFifth));
        add(rootName + "m/" + bass(kMinorThird));
        add(rootName + "m/" + bass(kFifth));
    }
    return catalogue;
}

std::vector<WellKnownShapeFile> readWellKnownShapeFiles(const std::filesystem::path& directory) {
    std::error_code error;
    std::vector<std::filesystem::path> paths;
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().extension() == ".json" && entry->is_regular_file()) {
            paths.push_back(entry->path());
        }
    }
    if (error) {
        throw InputError("cannot read the well-known shapes folder " + quoted(directory.string()) +
                         ": " + error.message());
    }
    std::sort(paths.begin(), paths.end());
    std::vector<WellKnownShapeFile> files;
    files.reserve(paths.size());
    for (const std::filesystem::path& path : paths) {
        files.push_back(readWellKnownShapeFile(path));
    }
    return files;
}

ShapeCacheBuild buildShapeCaches(const std::vector<ShippedTuning>& tunings,
                                 const std::vector<WellKnownShapeFile>& wellKnownShapes) {
    const std::vector<CatalogueChord> catalogue = chordCatalogue();
    std::set<std::string> catalogueKeys;
    for (const CatalogueChord& entry : catalogue) {
        catalogueKeys.insert(entry.chord->numericNoteStringValue());
    }

    ShapeCacheBuild build;
    build.curatedShapes = nlohmann::json::array();
    std::set<std::string> noteStrings;
    for (const ShippedTuning& shipped : tunings) {
        const SStringedInstrumentTuningPtr tuning = tuningForShippedTuning(shipped);
        const std::string& noteString = tuning->asciiNoteString();
        if (!noteStrings.insert(noteString).second) {
            continue; // served by the file of the first tuning of this note string
        }
        const TARVPlayableOptions options = playableOptionsForShippedTuning(shipped);
        const std::vector<WellKnownChord> wellKnown = wellKnownChords(wellKnownShapes, *tuning);
        std::unordered_map<std::string, const WellKnownChord*> wellKnownByKey;
        for (const WellKnownChord& chord : wellKnown) {
            wellKnownByKey.emplace(chord.chord->numericNoteStringValue(), &chord);
        }

        nlohmann::json chords = nlohmann::json::array();
        static const std::vector<TARVChordShapePtr> kNone;
        for (const CatalogueChord& entry : catalogue) {
            const auto found = wellKnownByKey.find(entry.chord->numericNoteStringValue());
            const ShapeList shapes =
                shapesForChord(entry.chord, tuning, options,
                               found != wellKnownByKey.end() ? found->second->shapes : kNone);
            chords.push_back({{"name", entry.name}, {"shapes", shapes.serialization()}});
        }
        build.tuningFiles.push_back(
            {noteString + ".shapecache",
             nlohmann::json{{"asciiNoteString", noteString}, {"chords", std::move(chords)}}});

        nlohmann::json curated = nlohmann::json::array();
        for (const WellKnownChord& chord : wellKnown) {
            if (catalogueKeys.count(chord.chord->numericNoteStringValue()) > 0) {
                continue;
            }
            // A chord without shapes would stop generation for it; it is left out.
            const ShapeList shapes = validShapes(chord, tuning, options);
            if (!shapes.empty()) {
                curated.push_back({{"name", chord.name}, {"shapes", shapes.serialization()}});
            }
        }
        if (!curated.empty()) {
            build.curatedShapes.push_back(
                {{"asciiNoteString", noteString}, {"chords", std::move(curated)}});
        }
    }
    return build;
}

std::string shapeCacheJsonText(const nlohmann::json& value) {
    return value.dump();
}

std::string curatedShapesText(const nlohmann::json& curatedShapes) {
    // One chord a line, so that the file reads (and compares) chord by chord.
    std::string text = "[";
    for (std::size_t tuning = 0; tuning < curatedShapes.size(); ++tuning) {
        const nlohmann::json& dictionary = curatedShapes.at(tuning);
        text += tuning == 0 ? "\n" : ",\n";
        text +=
            "{\"asciiNoteString\": " + dictionary.at("asciiNoteString").dump() + ", \"chords\": [";
        const nlohmann::json& chords = dictionary.at("chords");
        for (std::size_t chord = 0; chord < chords.size(); ++chord) {
            text += chord == 0 ? "\n  " : ",\n  ";
            text += chords.at(chord).dump();
        }
        text += "\n]}";
    }
    text += "\n]\n";
    return text;
}

} // namespace tarv::tool
