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

using ParsedEntries = std::vector<std::pair<std::string, std::vector<TARVChordShapePtr>>>;

std::optional<std::string> readFile(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    std::string contents((std::istreambuf_iterator<char>(stream)),
                         std::istreambuf_iterator<char>());
    if (stream.bad()) {
        return std::nullopt;
    }
    return contents;
}

std::string fileURL(const std::string& path) {
    return "file://" + std::filesystem::absolute(path).lexically_normal().string();
}

/// Reads a tuning dictionary into keys and shapes without touching any cache, so that a
/// dictionary of the wrong form (which throws nlohmann::json::exception) merges nothing.
void parseTuningDictionary(const nlohmann::json& dictionary, bool computeScore,
                           ParsedEntries& entries) {
    const auto noteString = dictionary.at("asciiNoteString").get<std::string>();
    std::vector<TARVFretIndicator> indicators;
    for (const nlohmann::json& chordObject : dictionary.at("chords")) {
        const auto name = chordObject.at("name").get<std::string>();
        std::vector<TARVChordShapePtr> shapes;
        for (const nlohmann::json& shapeObject : chordObject.at("shapes")) {
            indicators.clear();
            std::uint8_t string = 0;
            for (const nlohmann::json& fret : shapeObject.at("indicators")) {
                indicators.emplace_back(static_cast<std::int8_t>(fret.get<std::int64_t>()),
                                        string++);
            }
            const auto baseFret =
                static_cast<std::uint8_t>(shapeObject.at("fret").get<std::int64_t>());
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

void TARVChordShapeCacheEntry::append(const std::vector<TARVChordShapePtr>& shapes) {
    for (const TARVChordShapePtr& shape : shapes) {
        const std::uint64_t hash = shape->hash();
        const bool present = std::any_of(_shapes.begin(), _shapes.end(), [&](const auto& held) {
            return held->hash() == hash && held->isEqual(*shape);
        });
        if (!present) {
            _shapes.push_back(shape);
        }
    }
}

void TARVChordShapeCacheEntry::sort() {
    std::stable_sort(
        _shapes.begin(), _shapes.end(),
        [](const TARVChordShapePtr& a, const TARVChordShapePtr& b) { return a->compare(*b) < 0; });
}

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

TARVChordShapeList TARVChordShapeCache::viewOf(const Entry& entry) const {
    return TARVChordShapeList(entry, &entry->shapes());
}

TARVChordShapeCache::Entry* TARVChordShapeCache::lookupLoading(const std::string& key) {
    auto found = _cache.find(key);
    if (found == _cache.end()) {
        loadShapesForNoteString(elementsFromKey(key).at("asciiNoteString"));
        found = _cache.find(key);
        if (found == _cache.end()) {
            return nullptr;
        }
    }
    return &found->second;
}

TARVChordShapeList TARVChordShapeCache::shapesForKey(const std::string& key) {
    const std::lock_guard lock(_lock);
    const Entry* entry = lookupLoading(key);
    return entry != nullptr ? viewOf(*entry) : nullptr;
}

TARVChordShapeList TARVChordShapeCache::shapesForChord(const SChord& chord,
                                                       const SStringedInstrumentTuning& inTuning) {
    return shapesForKey(keyForChord(chord, inTuning));
}

std::optional<std::vector<TARVChordShapePtr>>
TARVChordShapeCache::shapesCopyForKey(const std::string& key) {
    const std::lock_guard lock(_lock);
    const Entry* entry = lookupLoading(key);
    if (entry == nullptr) {
        return std::nullopt;
    }
    return (*entry)->shapes();
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
        Entry entry =
            found != _cache.end() ? found->second : std::make_shared<TARVChordShapeCacheEntry>();
        entry->append(shapes);
        if (!entry->shapes().empty()) {
            entry->sort();
            _cache.insert_or_assign(key, std::move(entry));
            return;
        }
    }
    // Nothing to store: no entry and no shapes, or an empty entry and no shapes.
    log.error("Trying to Add 0 shapes for key {}", key);
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
        for (const TARVChordShapePtr& shape : _cache.at(key)->shapes()) {
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
        if (!entry) {
            entry = std::make_shared<TARVChordShapeCacheEntry>();
        }
        entry->append(shapes);
        entry->sort();
    }
}

void TARVChordShapeCache::addShapesFromJSONDataArray(const nlohmann::json& array,
                                                     bool computeScore) {
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
    const auto contents = readFile(kCuratedShapesFile);
    if (!contents) {
        return;
    }
    std::string error;
    auto chords = TARVTuningDictionaryReader::read(
        *contents, TARVTuningDictionaryReader::TopLevel::ListOfDictionaries, error);
    if (!chords) {
        TARVGuitarLog::shapeCacheLog().error("Unable to load curatedshapes.json: {}", error);
        return;
    }
    mergeEntries(entriesOf(std::move(*chords)));
}

void TARVChordShapeCache::loadShapesForNoteString(const std::string& noteString) {
    const auto path = shapeCacheFilePath(noteString);
    if (!path) {
        return;
    }
    spdlog::logger& log = TARVGuitarLog::shapeCacheLog();
    const auto contents = readFile(*path);
    const auto data =
        contents ? decompressedData(std::span(
                       reinterpret_cast<const std::uint8_t*>(contents->data()), contents->size()))
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
