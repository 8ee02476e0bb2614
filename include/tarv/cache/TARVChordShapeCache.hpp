#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tarv {

class TARVKeyedArchiver;
class TARVKeyedUnarchiver;
struct TARVArchiveClass;

/// An answer of the cache: an immutable snapshot of one entry, whose shapes have no two equal and
/// are sorted by badness. An addition to the entry replaces the cache's snapshot with a new one,
/// so an answer never changes once given and may be read on any thread while others add; a later
/// lookup sees the additions.
using TARVChordShapeList = std::shared_ptr<const std::vector<TARVChordShapePtr>>;

/// The process-wide store of chord shapes by chord and tuning.
///
/// Made with the curated shapes of "curatedshapes.json" (read from the working directory);
/// filled lazily, a tuning at a time, from the per-tuning files in the library's resources, and by
/// the shapes that generators hand it. Lookups and additions take the cache's lock and may run on
/// any thread; clearing, serialising and archiving take no lock and run only when no lookup or
/// addition runs on the same cache.
class TARVChordShapeCache {
public:
    /// `init`: an empty cache into which the curated shapes file has been merged.
    TARVChordShapeCache();
    TARVChordShapeCache(const TARVChordShapeCache&) = delete;
    TARVChordShapeCache& operator=(const TARVChordShapeCache&) = delete;

    /// The one shared cache, made on first use.
    static TARVChordShapeCache& sharedInstance();

    // Keys ------------------------------------------------------------------------------------

    /// `numericNoteStringValue` of the chord, ":", the tuning's `asciiNoteString`.
    static std::string keyForChord(const SChord& chord, const SStringedInstrumentTuning& inTuning);
    static std::string keyForChord(const SChord& chord, std::string_view noteString);
    static std::string keyWithChordName(std::string_view name, std::string_view noteString);
    /// {"name": text before the first ":", "asciiNoteString": text between the first and the
    /// second ":"}. Throws std::out_of_range for a key without ":".
    static std::map<std::string, std::string> elementsFromKey(std::string_view key);

    // Lookups and additions (locked) ------------------------------------------------------------

    /// The entry for `key`, loading the per-tuning file of its note string on a miss; null when
    /// there is still no entry.
    TARVChordShapeList shapesForKey(const std::string& key);
    TARVChordShapeList shapesForChord(const SChord& chord,
                                      const SStringedInstrumentTuning& inTuning);
    /// Absent when the chord or the tuning is absent.
    TARVChordShapeList
    shapesForChord(const SChordPtr& chord,
                   const std::shared_ptr<const SStringedInstrumentTuning>& inTuning);
    /// As `shapesForKey`, but a copy of the shape list.
    std::optional<std::vector<TARVChordShapePtr>> shapesCopyForKey(const std::string& key);
    std::optional<std::vector<TARVChordShapePtr>>
    shapesCopyForChord(const SChord& chord, const SStringedInstrumentTuning& inTuning);
    /// Merges `shapes` into the entry of the chord and tuning and keeps it sorted by badness.
    void addShapes(const std::vector<TARVChordShapePtr>& shapes, const SChord& forChord,
                   const SStringedInstrumentTuning& inTuning);
    /// Stores nothing when the chord or the tuning is absent.
    void addShapes(const std::vector<TARVChordShapePtr>& shapes, const SChordPtr& forChord,
                   const std::shared_ptr<const SStringedInstrumentTuning>& inTuning);

    // Unlocked operations -------------------------------------------------------------------------

    /// Removes every entry, curated ones included.
    void clearCache();
    /// The number of entries.
    std::size_t count() const noexcept { return _cache.size(); }
    /// Every key, in no defined order.
    std::vector<std::string> allKeys() const;

    /// A list of tuning dictionaries describing every entry, in no defined order.
    nlohmann::json serializationArray() const;
    /// Merges "curatedshapes.json" from the working directory, unscored.
    void loadCuratedShapes();
    /// Merges the per-tuning file of `noteString` from the library's resources, unscored.
    void loadShapesForNoteString(const std::string& noteString);
    void addShapesFromJSONDataArray(const nlohmann::json& array, bool computeScore);
    void addShapesFromTuningDictionary(const nlohmann::json& dictionary, bool computeScore);

    /// The per-tuning file that `loadShapesForNoteString` reads for `noteString`, if there is one.
    static std::optional<std::string> shapeCacheFilePath(const std::string& noteString);
    /// The folder of the library's resources: $TARV_GUITAR_RESOURCE_DIR when set, else the
    /// share/tarvguitar folder of the installed library, else the resources of the source tree.
    static std::string resourceDirectory();

    // Keyed archive -------------------------------------------------------------------------------

    static constexpr bool supportsSecureCoding() noexcept { return true; }
    static const TARVArchiveClass& archiveClass() noexcept;
    /// Writes the entries under "cache": a map of ordered sets of shapes.
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// A cache holding the archived entries with the curated shapes merged over them; null when
    /// the archive does not decode.
    static std::shared_ptr<TARVChordShapeCache> initWithCoder(TARVKeyedUnarchiver& coder);

    /// A cache with nothing merged, not even the curated shapes.
    struct Unloaded {};
    explicit TARVChordShapeCache(Unloaded) {}

private:
    /// The entry of `key`, loading the per-tuning file of its note string on a miss; null when
    /// there is still none. Runs with the lock held.
    TARVChordShapeList lookupLoading(const std::string& key);
    /// Merges parsed chord lists into the map; `entries` pairs a key with its shapes.
    void mergeEntries(std::vector<std::pair<std::string, std::vector<TARVChordShapePtr>>> entries);

    std::unordered_map<std::string, TARVChordShapeList> _cache;
    std::mutex _lock;
};

} // namespace tarv
