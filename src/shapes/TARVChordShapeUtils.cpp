#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

// The one place where the shape model calls into generation: built shapes are scored here.
#include "tarv/generation/TARVChordShapeScorer.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace tarv {

namespace {

/// Shapes built from fret numbers are scored as six-string shapes, whatever their string count.
constexpr std::int64_t kScoringStringCount = 6;

/// The base fret of a fret-number list without any sounding string.
constexpr std::int8_t kNoSoundingStringBaseFret = 127;

/// Fret lists and notes of real instruments are worked out without a heap allocation.
constexpr std::size_t kInlineStrings = 16;

/// Lenient decimal reading: leading spaces and tabs, an optional sign, then digits up to the first
/// other character; 0 when no digit follows. Values beyond the 32-bit range saturate at its
/// limits.
std::int64_t lenientIntegerValue(std::string_view text) {
    std::size_t position = 0;
    while (position < text.size() && (text[position] == ' ' || text[position] == '\t')) {
        ++position;
    }
    bool negative = false;
    if (position < text.size() && (text[position] == '+' || text[position] == '-')) {
        negative = text[position] == '-';
        ++position;
    }
    constexpr std::int64_t kLimit =
        static_cast<std::int64_t>(std::numeric_limits<std::int32_t>::max()) + 1;
    std::int64_t magnitude = 0;
    while (position < text.size() && text[position] >= '0' && text[position] <= '9') {
        magnitude = std::min<std::int64_t>(magnitude * 10 + (text[position] - '0'), kLimit);
        ++position;
    }
    if (negative) {
        return -magnitude;
    }
    return std::min<std::int64_t>(magnitude, std::numeric_limits<std::int32_t>::max());
}

} // namespace

TARVChordShapePtr TARVChordShape::shapeForIndicators(std::span<const TARVFretIndicator> indicators,
                                                     std::uint64_t atFret) {
    TARVChordShapePtr shape =
        shapeFromIndicatorArray(indicators, static_cast<std::uint8_t>(atFret));
    shape->setBadness(TARVChordShapeScorer::scoreForShape(*shape, kScoringStringCount));
    return shape;
}

namespace {

/// Calls `build(indicators, baseFret)` with the marks of absolute `frets` relative to their base
/// fret, the lowest fret that sounds.
template <typename Build>
TARVChordShapePtr withIndicatorsOfFretNumbers(std::span<const std::int64_t> frets, Build build) {
    std::int8_t baseFret = kNoSoundingStringBaseFret;
    for (const std::int64_t fret : frets) {
        const auto byte = static_cast<std::int8_t>(static_cast<std::uint8_t>(fret));
        if (byte >= 0 && byte < baseFret) {
            baseFret = byte;
        }
    }
    const auto mark = [&frets, baseFret](std::size_t string) {
        const auto byte = static_cast<std::uint8_t>(frets[string]);
        return TARVFretIndicator::indicatorAtFret(
            static_cast<std::int8_t>(static_cast<std::uint8_t>(byte - baseFret)),
            static_cast<std::uint8_t>(string));
    };
    if (frets.size() <= kInlineStrings) {
        std::array<TARVFretIndicator, kInlineStrings> indicators;
        for (std::size_t string = 0; string < frets.size(); ++string) {
            indicators[string] = mark(string);
        }
        return build(std::span<const TARVFretIndicator>(indicators.data(), frets.size()),
                     static_cast<std::uint8_t>(baseFret));
    }
    std::vector<TARVFretIndicator> indicators;
    indicators.reserve(frets.size());
    for (std::size_t string = 0; string < frets.size(); ++string) {
        indicators.push_back(mark(string));
    }
    return build(std::span<const TARVFretIndicator>(indicators),
                 static_cast<std::uint8_t>(baseFret));
}

} // namespace

TARVChordShapePtr TARVChordShape::shapeForFretNumberArray(std::span<const std::int64_t> frets) {
    return withIndicatorsOfFretNumbers(
        frets, [](std::span<const TARVFretIndicator> indicators, std::uint8_t baseFret) {
            return shapeForIndicators(indicators, baseFret);
        });
}

TARVChordShapePtr TARVChordShape::shapeFromFretNumberArray(std::span<const std::int64_t> frets) {
    return withIndicatorsOfFretNumbers(
        frets, [](std::span<const TARVFretIndicator> indicators, std::uint8_t baseFret) {
            return shapeFromIndicatorArray(indicators, baseFret);
        });
}

TARVChordShapePtr TARVChordShape::shapeForFretNumberString(std::string_view text) {
    std::vector<std::string_view> components;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        if (comma == std::string_view::npos) {
            components.push_back(text.substr(start));
            break;
        }
        components.push_back(text.substr(start, comma - start));
        start = comma + 1;
    }
    // The last component is string 0.
    std::vector<std::int64_t> frets;
    frets.reserve(components.size());
    for (auto component = components.rbegin(); component != components.rend(); ++component) {
        frets.push_back(*component == "x" ? -1 : lenientIntegerValue(*component));
    }
    return shapeForFretNumberArray(frets);
}

std::vector<SNote> TARVChordShape::notesInTuning(const SStringedInstrumentTuning& tuning) const {
    std::vector<SNote> result;
    notesInTuning(tuning, result);
    return result;
}

void TARVChordShape::notesInTuning(const SStringedInstrumentTuning& tuning,
                                   std::vector<SNote>& result) const {
    // Per string number, how far its note moves from the open string, or that it is muted;
    // strings above the base string get none. A note moved by nothing keeps the tuning's
    // spelling; a moved one takes the spelling of its pitch class.
    struct Sound {
        int offset = 0;
        bool moved = false;
        bool muted = false;
    };
    const std::vector<SPitch>& pitches = tuning.stringPitches();
    const std::size_t entries = std::min<std::size_t>(pitches.size(), std::size_t{_baseString} + 1);
    std::array<Sound, kInlineStrings> inlineSounds;
    std::vector<Sound> manySounds;
    std::span<Sound> sounds(inlineSounds.data(), std::min(entries, kInlineStrings));
    if (entries > kInlineStrings) {
        manySounds.resize(entries);
        sounds = manySounds;
    }
    const auto baseOffset = static_cast<std::int8_t>(_baseFret);
    for (Sound& sound : sounds) {
        sound = Sound{baseOffset, baseOffset != 0, false};
    }
    for (const TARVFretIndicator& indicator : _indicators) {
        if (indicator.string() >= entries) {
            continue;
        }
        Sound& sound = sounds[indicator.string()];
        if (indicator.isMuted()) {
            sound.muted = true;
        } else if (indicator.fret() != 0) {
            // A barre moves only its start string: the strings under it sound the base note.
            sound.offset += indicator.fret();
            sound.moved = true;
        }
    }
    result.clear();
    result.reserve(entries);
    for (std::size_t string = 0; string < entries; ++string) {
        const Sound& sound = sounds[string];
        if (sound.muted) {
            continue;
        }
        const SNote open = pitches[string].note();
        result.push_back(sound.moved ? SNote::noteWithValue(open.noteValue() + sound.offset)
                                     : open);
    }
}

} // namespace tarv
