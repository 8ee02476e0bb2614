#pragma once

#include "tarv/music/SNote.hpp"
#include "tarv/shapes/TARVFretIndicator.hpp"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

class SStringedInstrumentTuning;
class TARVChordShape;
class TARVKeyedArchiver;
class TARVKeyedUnarchiver;
struct TARVArchiveClass;
using TARVChordShapePtr = std::shared_ptr<TARVChordShape>;

/// One chord diagram: fret indicators kept in indicator order (string ascending, then fret
/// ascending), relative to a base fret, with a badness score.
///
/// A shape is built, then scored, then only read. Its reach and hash are computed on first
/// request and cached; a shape is used by one thread at a time.
class TARVChordShape final {
public:
    /// `init`: no indicators, every number 0.
    TARVChordShape() = default;

    /// A new shape at base fret `fret` with one indicator per entry of `indicators` (only fret and
    /// string are taken), its base string set to the highest sounding string, and its barre formed.
    static TARVChordShapePtr shapeFromIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                                     std::uint8_t fret);
    /// What `shapeFromIndicatorArray` builds at `fret` from one indicator per string in string
    /// order, string i at `frets[i]` (relative to the base fret, negative: muted), without
    /// sorting them.
    static TARVChordShapePtr shapeFromFretList(std::span<const std::int8_t> frets,
                                               std::uint8_t fret);
    /// Makes this shape what `shapeFromFretList` would build, as `_rebuildFromIndicatorArray`
    /// does.
    void _rebuildFromFretList(std::span<const std::int8_t> frets, std::uint8_t fret);
    /// Makes this shape what `shapeFromIndicatorArray` would build, reusing its storage: every
    /// field is reset, badness and both caches included.
    void _rebuildFromIndicatorArray(std::span<const TARVFretIndicator> indicators,
                                    std::uint8_t fret);

    // Building ------------------------------------------------------------------------------

    /// A negative fret adds a muted indicator, fret 0 at base fret 0 an open one, anything else a
    /// finger.
    void addIndicatorForFret(std::int8_t fret, std::uint8_t onString);
    void addOpenIndicatorForString(std::uint8_t string);
    /// The one add operation that also clears the cached hash.
    void addMutedIndicatorForString(std::uint8_t string);
    /// Adds a barre and removes the marks it replaces (see the barre rule). Throws
    /// std::out_of_range when the positions it looks at lie beyond the indicator list.
    void addBarreIndicatorForFret(std::uint8_t fret, std::uint8_t startString,
                                  std::uint8_t endString);
    /// Inserts at the position a binary search finds; keeps the indicator order.
    void _addSortedIndicator(const TARVFretIndicator& indicator);
    /// The barre rule: above the nut, strings held at relative fret 0 become one barre when no
    /// open or muted string lies below the highest of them. Always clears the cached hash.
    void addBarresAsNecessary();

    // Reading -------------------------------------------------------------------------------

    const std::vector<TARVFretIndicator>& indicators() const noexcept { return _indicators; }
    std::uint8_t baseFret() const noexcept { return _baseFret; }
    void setBaseFret(std::uint8_t baseFret) noexcept { _baseFret = baseFret; }
    std::uint8_t baseString() const noexcept { return _baseString; }
    void setBaseString(std::uint8_t baseString) noexcept { _baseString = baseString; }
    std::uint64_t badness() const noexcept { return _badness; }
    void setBadness(std::uint64_t badness) noexcept { _badness = badness; }

    /// Span of frets that fingers must cover; computed once, then cached for good.
    std::uint8_t reach() const noexcept;
    /// Highest string (a barre's end string) plus one; 6, with a log line, when that is 0.
    std::uint8_t stringCount() const;

    /// By badness alone: -1, 0 or +1.
    std::int64_t compare(const TARVChordShape& other) const noexcept {
        return _badness < other._badness ? -1 : (_badness > other._badness ? 1 : 0);
    }
    /// Base fret, base string, reach and the indicator lists; badness is not compared.
    bool isEqualToShape(const TARVChordShape& other) const noexcept;
    bool isEqual(const TARVChordShape& other) const noexcept { return isEqualToShape(other); }
    std::uint64_t hash() const noexcept;
    std::string description() const;

    static constexpr bool supportsSecureCoding() noexcept { return true; }

    // Keyed archive
    /// "TARVChordShape", a subclass of NSObject.
    static const TARVArchiveClass& archiveClass() noexcept;
    /// Writes "badness", "basefret", "basestring" and "reach" (computing it if needed) as number
    /// objects and "indicators" as a growable list of the indicators' own archives.
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// A shape with the archived badness, base fret, base string and indicators (sorted); the
    /// reach and hash are computed again on demand. Null when the coder has failed.
    static TARVChordShapePtr initWithCoder(TARVKeyedUnarchiver& coder);

    // Notation and notes ----------------------------------------------------------------------

    /// The shape built from `indicators` at base fret `fret` (low 8 bits), scored for 6 strings.
    static TARVChordShapePtr shapeForIndicators(std::span<const TARVFretIndicator> indicators,
                                                std::uint64_t atFret);
    /// Absolute frets by string (position i is string i), negative for muted.
    static TARVChordShapePtr shapeForFretNumberArray(std::span<const std::int64_t> frets);
    /// The shape `shapeForFretNumberArray` builds, left unscored (badness 0), for callers that
    /// score shapes their own way.
    static TARVChordShapePtr shapeFromFretNumberArray(std::span<const std::int64_t> frets);
    /// "x,3,2,0,1,0": comma-separated absolute frets, the last component being string 0.
    static TARVChordShapePtr shapeForFretNumberString(std::string_view text);
    /// The notes the shape sounds in `tuning`, one per sounding string from string 0 up.
    std::vector<SNote> notesInTuning(const SStringedInstrumentTuning& tuning) const;
    /// The same notes, in place of what `notes` held (its storage is reused).
    void notesInTuning(const SStringedInstrumentTuning& tuning, std::vector<SNote>& notes) const;

    /// The dictionary form: {"fret": base fret, "indicators": [fret of string 0, 1, ...]}.
    nlohmann::json serializationDictionary() const;

    /// Fingers needed: a finger counts 1 except on the lowest-pitched string, a barre 1, open and
    /// muted strings 0.
    std::uint64_t _fingersRequiredToPlayWithStringCount(std::uint8_t stringCount) const noexcept;

private:
    std::vector<TARVFretIndicator> _indicators;
    mutable std::uint8_t _reach = 0;
    mutable std::uint64_t _hash = 0;
    std::uint8_t _baseFret = 0;
    std::uint8_t _baseString = 0;
    std::uint64_t _badness = 0;
};

} // namespace tarv
