#include "tarv/cache/TARVChordShapeCache.hpp"

#include "cache/TARVTuningDictionaryReader.hpp"
#include "tarv/cache/TARVDataZLib.hpp"
#include "tarv/cache/TARVGuitarLog.hpp"
#include "tarv/generation/TARVChordShapeScorer.hpp"

#include <nlohmann/json.hpp>

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tarv {

namespace {

constexpr const char* kCuratedShapesFile = "curatedshapes.json";
/// The most that the curated file, a per-tuning file or the text it expands to may hold: far
/// above the real files (the largest expands to a few megabytes), and low enough that a
/// compressed bomb is refused before it takes the machine's memory.
constexpr std::size_t kMaximumShapeFileSize = std::size_t{64} << 20;

using ParsedEntries = std::vector<std::pair<std::string, std::vector<TARVChordShapePtr>>>;

/// The whole of a regular file no larger than `maximumSize`; nothing for anything else (a missing
/// or unreadable file, a folder, a FIFO that would block, a device) or when memory runs out.
std::optional<std::string> readFile(const std::filesystem::path& path, std::size_t maximumSize) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    try {
        std::ifstream stream(path, std::ios::binary);
        if (!stream) {
            return std::nullopt;
        }
        std::string contents;
        char buffer[65536];
        while (stream.read(buffer, sizeof buffer) || stream.gcount() > 0) {
            if (contents.size() + static_cast<std::size_t>(stream.gcount()) > maximumSize) {
                return std::nullopt;
            }
            contents.append(buffer, static_cast<std::size_t>(stream.gcount()));
        }
        if (stream.bad()) {
            return std::nullopt;
        }
        return contents;
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

std::string fileURL(const std::string& path) {
    return "file://" + std::filesystem::absolute(path).lexically_normal().string();
}

/// The value under `key` of the map `object`, which must be of the form `is` tests for; the same
/// rule as the reader of files (TARVTuningDictionaryReader): a missing key or a value of another
/// form throws nlohmann::json::exception.
const nlohmann::json& member(const nlohmann::json& object, const char* key,
                             bool (nlohmann::json::*is)() const noexcept, const char* form) {
    if (!object.is_object()) {
        throw nlohmann::json::type_error::create(
            302, std::string("a map is needed, not ") + object.type_name(), &object);
    }
    const nlohmann::json& value = object.at(key);
    if (!(value.*is)()) {
        throw nlohmann::json::type_error::create(
            302, std::string("\"") + key + "\" must be " + form + ", not " + value.type_name(),
            &value);
    }
    return value;
}

/// A number's integer, or nlohmann::json::exception when it is not a number whose integer part
/// fits 64 bits.
std::int64_t integerOf(const nlohmann::json& number) {
    if (number.is_number_integer()) {
        // Unsigned values beyond the signed range keep their low bits.
        return number.is_number_unsigned() ? static_cast<std::int64_t>(number.get<std::uint64_t>())
                                           : number.get<std::int64_t>();
    }
    if (number.is_number_float()) {
        if (const auto integer = TARVTuningDictionaryReader::integerOfFloat(number.get<double>())) {
            return *integer;
        }
    }
    throw nlohmann::json::type_error::create(
        302, std::string("a number of 64 bits is needed, not ") + number.dump(), &number);
}

/// Reads a tuning dictionary into keys and shapes without touching any cache, so that a
/// dictionary of the wrong form (which throws nlohmann::json::exception) merges nothing.
void parseTuningDictionary(const nlohmann::json& dictionary, bool computeScore,
                           ParsedEntries& entries) {
    using json = nlohmann::json;
    const auto noteString =
        member(dictionary, "asciiNoteString", &json::is_string, "a text").get<std::string>();
    std::vector<TARVFretIndicator> indicators;
    for (const json& chordObject : member(dictionary, "chords", &json::is_array, "a list")) {
        const auto name =
            member(chordObject, "name", &json::is_string, "a text").get<std::string>();
        std::vector<TARVChordShapePtr> shapes;
        for (const json& shapeObject : member(chordObject, "shapes", &json::is_array, "a list")) {
            indicators.clear();
            std::uint8_t string = 0;
            for (const json& fret : member(shapeObject, "indicators", &json::is_array, "a list")) {
                indicators.emplace_back(static_cast<std::int8_t>(integerOf(fret)), string++);
            }
            const auto baseFret = static_cast<std::uint8_t>(
                integerOf(member(shapeObject, "fret", &json::is_number, "a number")));
            auto shape = TARVChordShape::shapeFromIndicatorArray(indicators, baseFret);
            shape->setBadness(computeScore ? TARVChordShapeScorer::scoreForShape(*shape, 6) : 0);
            shapes.push_back(std::move(shape));
        }
        const auto chord = SChord::chordWithString(name);
        entries.emplace_back(chord ? TARVChordShapeCache::keyForChord(*chord, noteString)
                                   : TARVChordShapeCache::keyWithChordName(name, noteString),
                             std::move(shapes));
    }
}

/// Files the chords read from a file under their keys.
ParsedEntries entriesOf(std::vector<TARVReadChord> chords) {
    ParsedEntries entries;
    entries.reserve(chords.size());
    for (TARVReadChord& chord : chords) {
        const auto parsed = SChord::chordWithString(chord.name);
        entries.emplace_back(
            parsed ? TARVChordShapeCache::keyForChord(*parsed, chord.asciiNoteString)
                   : TARVChordShapeCache::keyWithChordName(chord.name, chord.asciiNoteString),
            std::move(chord.shapes));
    }
    return entries;
}

bool isDirectory(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

} // namespace

// Entries -----------------------------------------------------------------------------------------

namespace {

/// A new snapshot: `held` followed by the shapes of `added` not equal to one before them (a shape
/// keeps its first place), sorted by badness with shapes of equal badness in that order. The
/// shapes' hash and reach are computed here, before the snapshot is shared, so that readers of
/// a snapshot never write to a shape.
TARVChordShapeList merged(const TARVChordShapeList& held,
                          const std::vector<TARVChordShapePtr>& added) {
    auto shapes = std::make_shared<std::vector<TARVChordShapePtr>>();
    shapes->reserve((held ? held->size() : 0) + added.size());
    if (held) {
        shapes->assign(held->begin(), held->end());
    }
    // The hashes of the kept shapes, in their order, to compare an added shape with.
    std::vector<std::uint64_t> hashes;
    hashes.reserve(shapes->capacity());
    for (const TARVChordShapePtr& shape : *shapes) {
        hashes.push_back(shape->hash());
    }
    for (const TARVChordShapePtr& shape : added) {
        const std::uint64_t hash = shape->hash();
        bool present = false;
        for (std::size_t i = 0; i < hashes.size() && !present; ++i) {
            present = hashes[i] == hash && (*shapes)[i]->isEqual(*shape);
        }
        if (!present) {
            shapes->push_back(shape);
            hashes.push_back(hash);
        }
    }
    const auto inOrder = [](const TARVChordShapePtr& a, const TARVChordShapePtr& b) {
        return a->compare(*b) < 0;
    };
    // Shapes read from a file usually come sorted already.
    if (std::is_sorted(shapes->begin(), shapes->end(), inOrder)) {
        return shapes;
    }
    std::stable_sort(shapes->begin(), shapes->end(), inOrder);
    return shapes;
}

/// The note string of a key, if the key has one.
std::optional<std::string> noteStringOfKey(std::string_view key) {
    if (key.find(':') == std::string_view::npos) {
        return std::nullopt;
    }
    return TARVChordShapeCache::elementsFromKey(key).at("asciiNoteString");
}

} // namespace

// Construction ------------------------------------------------------------------------------------

TARVChordShapeCache::TARVChordShapeCache() {
    loadCuratedShapes();
}

TARVChordShapeCache& TARVChordShapeCache::sharedInstance() {
    static std::once_flag once;
    static TARVChordShapeCache* shared = nullptr;
    std::call_once(once, [] { shared = new TARVChordShapeCache(); });
    return *shared;
}

// Keys --------------------------------------------------------------------------------------------

std::string TARVChordShapeCache::keyForChord(const SChord& chord,
                                             const SStringedInstrumentTuning& inTuning) {
    return keyForChord(chord, inTuning.asciiNoteString());
}

std::string TARVChordShapeCache::keyForChord(const SChord& chord, std::string_view noteString) {
    return keyWithChordName(chord.numericNoteStringValue(), noteString);
}

std::string TARVChordShapeCache::keyWithChordName(std::string_view name,
                                                  std::string_view noteString) {
    std::string key;
    key.reserve(name.size() + 1 + noteString.size());
    key.append(name).append(":").append(noteString);
    return key;
}

std::map<std::string, std::string> TARVChordShapeCache::elementsFromKey(std::string_view key) {
    const auto first = key.find(':');
    if (first == std::string_view::npos) {
        throw std::out_of_range("elementsFromKey: the key \"" + std::string(key) +
                                "\" has no \":\"");
    }
    const auto rest = key.substr(first + 1);
    return {{"name", std::string(key.substr(0, first))},
            {"asciiNoteString", std::string(rest.substr(0, rest.find(':')))}};
}

// Lookups and additions ---------------------------------------------------------------------------

TARVChordShapeList TARVChordShapeCache::lookupLoading(const std::string& key) {
    auto found = _cache.find(key);
    if (found == _cache.end()) {
        // A key without ":" names no tuning, so there is no file to load for it.
        const auto noteString = noteStringOfKey(key);
        if (!noteString) {
            return nullptr;
        }
        loadShapesForNoteString(*noteString);
        found = _cache.find(key);
        if (found == _cache.end()) {
            return nullptr;
        }
    }
    return found->second;
}

TARVChordShapeList TARVChordShapeCache::shapesForKey(const std::string& key) {
    const std::lock_guard lock(_lock);
    return lookupLoading(key);
}

TARVChordShapeList TARVChordShapeCache::shapesForChord(const SChord& chord,
                                                       const SStringedInstrumentTuning& inTuning) {
    return shapesForKey(keyForChord(chord, inTuning));
}

TARVChordShapeList TARVChordShapeCache::shapesForChord(
    const SChordPtr& chord, const std::shared_ptr<const SStringedInstrumentTuning>& inTuning) {
    if (!chord || !inTuning) {
        return nullptr;
    }
    return shapesForChord(*chord, *inTuning);
}

std::optional<std::vector<TARVChordShapePtr>>
TARVChordShapeCache::shapesCopyForKey(const std::string& key) {
    const TARVChordShapeList shapes = shapesForKey(key);
    if (!shapes) {
        return std::nullopt;
    }
    return *shapes;
}

std::optional<std::vector<TARVChordShapePtr>>
TARVChordShapeCache::shapesCopyForChord(const SChord& chord,
                                        const SStringedInstrumentTuning& inTuning) {
    return shapesCopyForKey(keyForChord(chord, inTuning));
}

void TARVChordShapeCache::addShapes(const std::vector<TARVChordShapePtr>& shapes,
                                    const SChord& forChord,
                                    const SStringedInstrumentTuning& inTuning) {
    const std::string key = keyForChord(forChord, inTuning);
    spdlog::logger& log = TARVGuitarLog::shapeCacheLog();
    log.info("using key {} for chord {}", key, forChord.description());
    {
        const std::lock_guard lock(_lock);
        auto found = _cache.find(key);
        if (!shapes.empty()) {
            if (found != _cache.end()) {
                found->second = merged(found->second, shapes);
            } else {
                _cache.emplace(key, merged(nullptr, shapes));
            }
            return;
        }
        if (found != _cache.end() && !found->second->empty()) {
            return;
        }
    }
    // Nothing to store: no entry and no shapes, or an empty entry and no shapes.
    log.error("Trying to Add 0 shapes for key {}", key);
}

void TARVChordShapeCache::addShapes(
    const std::vector<TARVChordShapePtr>& shapes, const SChordPtr& forChord,
    const std::shared_ptr<const SStringedInstrumentTuning>& inTuning) {
    if (!forChord || !inTuning) {
        return;
    }
    addShapes(shapes, *forChord, *inTuning);
}

// Unlocked operations -----------------------------------------------------------------------------

void TARVChordShapeCache::clearCache() {
    _cache.clear();
}

std::vector<std::string> TARVChordShapeCache::allKeys() const {
    std::vector<std::string> keys;
    keys.reserve(_cache.size());
    for (const auto& [key, entry] : _cache) {
        keys.push_back(key);
    }
    return keys;
}

nlohmann::json TARVChordShapeCache::serializationArray() const {
    // Keys are visited in sorted order so that the same cache always writes the same text.
    std::vector<std::string> keys = allKeys();
    std::sort(keys.begin(), keys.end());
    std::map<std::string, nlohmann::json> dictionaries;
    for (const std::string& key : keys) {
        auto elements = elementsFromKey(key);
        const std::string& noteString = elements.at("asciiNoteString");
        auto& dictionary = dictionaries[noteString];
        if (dictionary.is_null()) {
            dictionary = {{"asciiNoteString", noteString}, {"chords", nlohmann::json::array()}};
        }
        nlohmann::json shapes = nlohmann::json::array();
        for (const TARVChordShapePtr& shape : *_cache.at(key)) {
            shapes.push_back(shape->serializationDictionary());
        }
        dictionary["chords"].push_back(
            {{"name", elements.at("name")}, {"shapes", std::move(shapes)}});
    }
    nlohmann::json array = nlohmann::json::array();
    for (auto& [noteString, dictionary] : dictionaries) {
        array.push_back(std::move(dictionary));
    }
    return array;
}

void TARVChordShapeCache::mergeEntries(ParsedEntries entries) {
    for (auto& [key, shapes] : entries) {
        auto& entry = _cache[key];
        entry = merged(entry, shapes);
    }
}

void TARVChordShapeCache::addShapesFromJSONDataArray(const nlohmann::json& array,
                                                     bool computeScore) {
    if (!array.is_array()) {
        throw nlohmann::json::type_error::create(
            302, std::string("a list of tuning dictionaries is needed, not ") + array.type_name(),
            &array);
    }
    ParsedEntries entries;
    for (const nlohmann::json& dictionary : array) {
        parseTuningDictionary(dictionary, computeScore, entries);
    }
    mergeEntries(std::move(entries));
}

void TARVChordShapeCache::addShapesFromTuningDictionary(const nlohmann::json& dictionary,
                                                        bool computeScore) {
    ParsedEntries entries;
    parseTuningDictionary(dictionary, computeScore, entries);
    mergeEntries(std::move(entries));
}

void TARVChordShapeCache::loadCuratedShapes() {
    const auto contents = readFile(kCuratedShapesFile, kMaximumShapeFileSize);
    if (!contents) {
        return;
    }
    try {
        std::string error;
        auto chords = TARVTuningDictionaryReader::read(
            *contents, TARVTuningDictionaryReader::TopLevel::ListOfDictionaries, error);
        if (!chords) {
            TARVGuitarLog::shapeCacheLog().error("Unable to load curatedshapes.json: {}", error);
            return;
        }
        mergeEntries(entriesOf(std::move(*chords)));
    } catch (const std::bad_alloc&) {
        TARVGuitarLog::shapeCacheLog().error("Unable to load curatedshapes.json: {}",
                                             "out of memory");
    }
}

void TARVChordShapeCache::loadShapesForNoteString(const std::string& noteString) {
    const auto path = shapeCacheFilePath(noteString);
    if (!path) {
        return;
    }
    spdlog::logger& log = TARVGuitarLog::shapeCacheLog();
    try {
        const auto contents = readFile(*path, kMaximumShapeFileSize);
        const auto data =
            contents ? decompressedData(
                           std::span(reinterpret_cast<const std::uint8_t*>(contents->data()),
                                     contents->size()),
                           kMaximumShapeFileSize)
                     : std::nullopt;
        if (!data) {
            log.error("Unable to decompress shape cache file {}", fileURL(*path));
            return;
        }
        std::string error;
        auto chords = TARVTuningDictionaryReader::read(
            std::string_view(reinterpret_cast<const char*>(data->data()), data->size()),
            TARVTuningDictionaryReader::TopLevel::Dictionary, error);
        if (!chords) {
            log.error("Unable to expand json data from decompressing shape cache file {}",
                      fileURL(*path));
            return;
        }
        mergeEntries(entriesOf(std::move(*chords)));
    } catch (const std::bad_alloc&) {
        log.error("Unable to expand json data from decompressing shape cache file {}",
                  fileURL(*path));
    }
}

// Resources ---------------------------------------------------------------------------------------

std::string TARVChordShapeCache::resourceDirectory() {
    if (const char* configured = std::getenv("TARV_GUITAR_RESOURCE_DIR")) {
        return configured;
    }
    // Installed: <prefix>/lib/libtarvguitar.so or <prefix>/bin/program, resources in
    // <prefix>/share/tarvguitar.
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&TARVChordShapeCache::resourceDirectory), &info) != 0 &&
        info.dli_fname != nullptr) {
        std::error_code error;
        const auto binary = std::filesystem::canonical(info.dli_fname, error);
        if (!error) {
            const auto beside = binary.parent_path().parent_path() / "share" / "tarvguitar";
            if (isDirectory(beside / "shapecaches")) {
                return beside.string();
            }
        }
    }
#ifdef TARV_BUILD_RESOURCE_DIR
    if (isDirectory(TARV_BUILD_RESOURCE_DIR)) {
        return TARV_BUILD_RESOURCE_DIR;
    }
#endif
#ifdef TARV_INSTALL_RESOURCE_DIR
    return TARV_INSTALL_RESOURCE_DIR;
#else
    return "resources";
#endif
}

std::optional<std::string> TARVChordShapeCache::shapeCacheFilePath(const std::string& noteString) {
    const auto path =
        std::filesystem::path(resourceDirectory()) / "shapecaches" / (noteString + ".shapecache");
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return std::nullopt;
    }
    return path.string();
}

} // namespace tarv
