#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/settings/NoteEntrySettings.hpp"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarv::tool {

/// The sample settings file among the library's resources.
std::filesystem::path defaultSettingsPath();

/// The settings of the property-list file at `path`. Throws InputError, naming the file and the
/// reading or decoding error, when it cannot be read or does not decode.
NoteEntrySettings loadSettings(const std::filesystem::path& path);

/// An instrument of a settings file and one of its tunings, as the command line chooses them.
struct InstrumentChoice {
    /// The settings file; the sample one when absent.
    std::optional<std::filesystem::path> settingsPath;
    /// The instrument's name; the file's first instrument when absent.
    std::optional<std::string> instrument;
    /// The tuning's name; the instrument's first tuning when absent.
    std::optional<std::string> tuning;
    /// Replaces the instrument's fret count when given.
    std::optional<int> fretCount;
    std::optional<int> capo;
};

/// The tuning `choice` names, with its instrument's name. Throws InputError when the settings file
/// does not load, names no such instrument or tuning, or holds a value the conversion into a
/// tuning cannot take: a note name that names no note, an octave outside -128 to 127, a fret
/// count or capo outside 0 to 255, no strings or more than 255.
struct ChosenTuning {
    SStringedInstrumentTuningPtr tuning;
    std::string instrumentName;
};
ChosenTuning tuningForChoice(const InstrumentChoice& choice);

} // namespace tarv::tool
