#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include "tarv/music/TARVHasher.hpp"
#include "tarv/shapes/TARVChordShape.hpp"

#include <libintl.h>

#include <array>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

namespace tarv {

namespace {

std::string makeAsciiNoteString(const std::vector<SPitch>& pitches) {
    std::string result;
    for (const SPitch& pitch : pitches) {
        std::string text = pitch.note().string();
        if (text.size() >= 2) {
            if (text[1] == 'b') {
                text[1] = '-';
            } else if (text[1] == '#') {
                text[1] = '+';
            }
        }
        result.insert(0, text);
    }
    return result;
}

std::uint32_t textHash(const std::string& text) {
    return static_cast<std::uint32_t>(TARVHashString(text.data(), text.size()));
}

} // namespace

TARVSharedText TARVLocalizedString(const std::string& key) {
    static std::mutex mutex;
    static std::map<std::pair<std::string, std::string>, TARVSharedText> texts;
    std::string translated = gettext(key.c_str());
    const std::lock_guard lock(mutex);
    auto& text = texts[{key, translated}];
    if (!text) {
        text = std::make_shared<const std::string>(std::move(translated));
    }
    return text;
}

SStringedInstrumentTuning::SStringedInstrumentTuning(
    std::vector<SPitch> pitches, std::uint8_t fretCount, std::uint8_t capo, TARVSharedText name,
    std::string noteString, std::optional<StringOrderTransform> stringOrderTransform)
    : _mName(std::move(name)), _mNoteString(std::move(noteString)),
      _mStringPitches(std::move(pitches)), _mCapo(capo), _mFretCount(fretCount),
      _mStringOrderTransform(std::move(stringOrderTransform)),
      _mAsciiNoteString(makeAsciiNoteString(_mStringPitches)) {}

SStringedInstrumentTuningPtr SStringedInstrumentTuning::initWithPitches(
    std::vector<SPitch> pitches, std::uint8_t fretCount, std::uint8_t capo, TARVSharedText name,
    std::string noteString, std::optional<StringOrderTransform> stringOrderTransform) {
    return std::make_shared<SStringedInstrumentTuning>(std::move(pitches), fretCount, capo,
                                                       std::move(name), std::move(noteString),
                                                       std::move(stringOrderTransform));
}

SStringedInstrumentTuningPtr SStringedInstrumentTuning::stringedInstrumentTuning() {
    const auto note = [](const char* text) {
        return *SNote::noteWithString(text);
    };
    std::vector<SPitch> pitches{
        SPitch::pitchWithNote(note("E"), 4), SPitch::pitchWithNote(note("B"), 3),
        SPitch::pitchWithNote(note("G"), 3), SPitch::pitchWithNote(note("D"), 3),
        SPitch::pitchWithNote(note("A"), 2), SPitch::pitchWithNote(note("E"), 2),
    };
    return initWithPitches(std::move(pitches), 22, 0, TARVLocalizedString("Standard"), "EADGBE",
                           std::nullopt);
}

const SPitch& SStringedInstrumentTuning::pitchForString(std::int64_t string) const {
    if (_mStringOrderTransform) {
        if (string < 0 || static_cast<std::size_t>(string) >= _mStringOrderTransform->size()) {
            throw std::out_of_range("pitchForString: string " + std::to_string(string) +
                                    " outside the string order transform");
        }
        string = (*_mStringOrderTransform)[static_cast<std::size_t>(string)];
    }
    if (string < 0 || static_cast<std::size_t>(string) >= _mStringPitches.size()) {
        throw std::out_of_range("pitchForString: string " + std::to_string(string) +
                                " outside the tuning's " + std::to_string(_mStringPitches.size()) +
                                " strings");
    }
    return _mStringPitches[static_cast<std::size_t>(string)];
}

std::vector<SPitch> SStringedInstrumentTuning::pitchesForShape(const TARVChordShape& shape,
                                                               std::int8_t withOffset) const {
    std::vector<SPitch> basePitches;
    basePitches.reserve(_mStringPitches.size());
    const auto baseOffset = static_cast<std::int8_t>(_mCapo + withOffset);
    for (const SPitch& pitch : _mStringPitches) {
        basePitches.push_back(pitch.pitchAtOffset(baseOffset));
    }
    const auto basePitch = [&](std::uint8_t string) -> const SPitch& {
        if (string >= basePitches.size()) {
            throw std::out_of_range("pitchesForShape: string " + std::to_string(string) +
                                    " outside the tuning's " + std::to_string(basePitches.size()) +
                                    " strings");
        }
        return basePitches[string];
    };

    std::array<std::optional<SPitch>, 256> sounding;
    std::vector<TARVFretIndicator> remaining;
    remaining.reserve(shape.indicators().size());
    for (const TARVFretIndicator& indicator : shape.indicators()) {
        if (indicator.isKindOfClass(TARVIndicatorClass::Barre)) {
            const auto offset = static_cast<std::int8_t>(indicator.fret() + shape.baseFret());
            // A barre whose end lies below its start covers no string, as in its dictionary form.
            for (unsigned string = indicator.string(); string <= indicator.endString(); ++string) {
                const auto index = static_cast<std::uint8_t>(string);
                sounding[index] = basePitch(index).pitchAtOffset(offset);
            }
        } else if (indicator.isKindOfClass(TARVIndicatorClass::Muted)) {
            sounding[indicator.string()].reset();
        } else {
            remaining.push_back(indicator);
        }
    }
    for (const TARVFretIndicator& indicator : remaining) {
        const auto offset = static_cast<std::int8_t>(indicator.fret() + shape.baseFret());
        sounding[indicator.string()] = basePitch(indicator.string()).pitchAtOffset(offset);
    }

    std::vector<SPitch> result;
    for (std::size_t string = 0; string < stringCount(); ++string) {
        if (sounding[string]) {
            result.push_back(*sounding[string]);
        }
    }
    return result;
}

bool SStringedInstrumentTuning::isEqualToTuning(
    const SStringedInstrumentTuning& other) const noexcept {
    const bool transformsAgree = _mStringOrderTransform == other._mStringOrderTransform;
    return _mFretCount == other._mFretCount && _mName == other._mName &&
           _mNoteString == other._mNoteString && _mAsciiNoteString == other._mAsciiNoteString &&
           stringCount() == other.stringCount() && _mCapo == other._mCapo &&
           _mStringPitches == other._mStringPitches && transformsAgree;
}

std::uint64_t SStringedInstrumentTuning::hash() const noexcept {
    TARVHasher pitchHasher = TARVHasherCreate();
    for (const SPitch& pitch : _mStringPitches) {
        TARVHasherAddUnsignedInt(&pitchHasher, static_cast<std::uint32_t>(pitch.hash()));
    }
    std::uint32_t transformHash = 0;
    if (_mStringOrderTransform) {
        TARVHasher transformHasher = TARVHasherCreate();
        for (const std::int64_t entry : *_mStringOrderTransform) {
            TARVHasherAddUnsignedInt(&transformHasher, static_cast<std::uint32_t>(entry));
        }
        transformHash = static_cast<std::uint32_t>(TARVHasherGetResult(&transformHasher));
    }

    TARVHasher hasher = TARVHasherCreate();
    TARVHasherAddUnsignedInt(&hasher, _mName ? textHash(*_mName) : 0);
    TARVHasherAddUnsignedInt(&hasher, textHash(_mNoteString));
    TARVHasherAddUnsignedInt(&hasher, textHash(_mAsciiNoteString));
    TARVHasherAddUnsignedInt(&hasher, stringCount());
    TARVHasherAddUnsignedInt(&hasher, _mCapo);
    TARVHasherAddUnsignedInt(&hasher,
                             static_cast<std::uint32_t>(TARVHasherGetResult(&pitchHasher)));
    TARVHasherAddUnsignedInt(&hasher, transformHash);
    return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
}

std::string SStringedInstrumentTuning::description() const {
    std::string pitches;
    for (const SPitch& pitch : _mStringPitches) {
        pitches += (pitches.empty() ? "" : " ") + pitch.string();
    }
    std::string text = "SStringedInstrumentTuning name: " + (_mName ? *_mName : std::string()) +
                       " noteString: " + _mNoteString + " pitches: [" + pitches +
                       "] frets: " + std::to_string(_mFretCount) +
                       " capo: " + std::to_string(_mCapo);
    if (_mStringOrderTransform) {
        std::string transform;
        for (const std::int64_t entry : *_mStringOrderTransform) {
            transform += (transform.empty() ? "" : " ") + std::to_string(entry);
        }
        text += " stringOrderTransform: [" + transform + "]";
    }
    return text;
}

} // namespace tarv
