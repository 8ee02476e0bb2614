#include "tarv/instruments/TARVInstrumentText.hpp"

#include "tarv/music/SPitch.hpp"

#include <algorithm>
#include <charconv>
#include <vector>

namespace tarv {

using InputError = TARVInstrumentText::Error;
using TuningRequest = TARVInstrumentText::TuningRequest;
using FretText = TARVInstrumentText::FretText;

namespace {

constexpr int kMaximumByte = 255;
constexpr int kMaximumFret = 127;
constexpr std::size_t kMaximumStringCount = 255;

bool isBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// The words of `text`, split at blanks and commas.
std::vector<std::string_view> words(std::string_view text) {
    std::vector<std::string_view> result;
    std::size_t position = 0;
    while (position < text.size()) {
        while (position < text.size() && (isBlank(text[position]) || text[position] == ',')) {
            ++position;
        }
        const std::size_t start = position;
        while (position < text.size() && !isBlank(text[position]) && text[position] != ',') {
            ++position;
        }
        if (position > start) {
            result.push_back(text.substr(start, position - start));
        }
    }
    return result;
}

std::uint8_t checkedByte(std::optional<int> value, std::uint8_t fallback, const char* what) {
    if (!value) {
        return fallback;
    }
    if (*value < 0 || *value > kMaximumByte) {
        throw InputError(std::string(what) + " " + std::to_string(*value) + " is outside 0 to 255");
    }
    return static_cast<std::uint8_t>(*value);
}

/// The components of a fret-number text, first component first.
std::vector<std::string_view> fretComponents(std::string_view text) {
    std::vector<std::string_view> components;
    if (text.find(',') == std::string_view::npos && text.size() >= 2) {
        for (std::size_t index = 0; index < text.size(); ++index) {
            components.push_back(text.substr(index, 1));
        }
        return components;
    }
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        components.push_back(TARVInstrumentText::trimmed(text.substr(start, comma - start)));
        if (comma == std::string_view::npos) {
            break;
        }
        start = comma + 1;
    }
    return components;
}

} // namespace

std::string_view TARVInstrumentText::trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

SStringedInstrumentTuningPtr TARVInstrumentText::tuningForRequest(const TuningRequest& request,
                                                                  std::size_t maximumStrings) {
    const SStringedInstrumentTuningPtr standard =
        SStringedInstrumentTuning::stringedInstrumentTuning();
    const std::uint8_t fretCount = checkedByte(request.fretCount, standard->fretCount(), "--frets");
    const std::uint8_t capo = checkedByte(request.capo, standard->capo(), "--capo");

    if (!request.pitches) {
        if (fretCount == standard->fretCount() && capo == standard->capo()) {
            return standard;
        }
        return SStringedInstrumentTuning::initWithPitches(
            standard->stringPitches(), fretCount, capo, standard->name(), standard->noteString(),
            standard->stringOrderTransform());
    }

    const std::vector<std::string_view> pitchTexts = words(*request.pitches);
    if (pitchTexts.empty()) {
        throw InputError("tuning " + quoted(*request.pitches) + " has no strings");
    }
    const std::size_t limit = std::min(maximumStrings, kMaximumStringCount);
    if (pitchTexts.size() > limit) {
        throw InputError("tuning " + quoted(*request.pitches) + " has " +
                         std::to_string(pitchTexts.size()) + " strings; at most " +
                         std::to_string(limit) + " are read");
    }
    // Given lowest string first; string 0 is the highest.
    std::vector<SPitch> pitches;
    std::string noteString;
    pitches.reserve(pitchTexts.size());
    for (const std::string_view pitchText : pitchTexts) {
        const std::optional<SPitch> pitch = SPitch::pitchWithString(pitchText);
        if (!pitch) {
            throw InputError("tuning " + quoted(*request.pitches) + ": cannot read the pitch " +
                             quoted(pitchText) +
                             " (write a note and an octave, lowest string first: \"E2 A2 D3 G3 "
                             "B3 E4\")");
        }
        pitches.push_back(*pitch);
        noteString += pitch->note().string();
    }
    std::reverse(pitches.begin(), pitches.end());

    static const TARVSharedText customName = TARVMakeSharedText("Custom");
    const TARVSharedText name = request.name ? TARVMakeSharedText(*request.name) : customName;
    return SStringedInstrumentTuning::initWithPitches(std::move(pitches), fretCount, capo, name,
                                                      std::move(noteString), std::nullopt);
}

TARVInstrumentText::FretText TARVInstrumentText::readFretText(std::string_view text) {
    const std::string_view given = trimmed(text);
    const auto unreadable = [&](const std::string& why) {
        return InputError("cannot read the fret text " + quoted(text) + ": " + why +
                          " (write frets from the lowest string to the highest, \"x\" for a "
                          "muted string: \"x,3,2,0,1,0\")");
    };
    if (given.empty()) {
        throw unreadable("it is empty");
    }
    const std::vector<std::string_view> components = fretComponents(given);
    if (components.size() > kMaximumStringCount) {
        throw unreadable("more than 255 strings");
    }

    FretText result;
    result.stringCount = static_cast<std::uint8_t>(components.size());
    for (std::size_t index = 0; index < components.size(); ++index) {
        const std::string_view component = components[index];
        if (index > 0) {
            result.notation += ',';
        }
        if (component == "x" || component == "X") {
            result.notation += 'x';
            continue;
        }
        int fret = -1;
        const auto [end, error] =
            std::from_chars(component.data(), component.data() + component.size(), fret);
        if (component.empty() || error != std::errc() ||
            end != component.data() + component.size() || fret < 0) {
            throw unreadable(component.empty() ? std::string("a string has no fret")
                                               : quoted(component) + " is not a fret or x");
        }
        if (fret > kMaximumFret) {
            throw unreadable("fret " + std::to_string(fret) + " is above 127");
        }
        result.highestFret = std::max(result.highestFret, fret);
        result.notation += std::to_string(fret);
    }
    return result;
}

} // namespace tarv
