#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"
#include "tarv/music/SChord.hpp"
#include "tarv/ranking/TARVPlayableShape.hpp"

#include <pybind11/pybind11.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::python {

namespace py = pybind11;

using TuningPtr = std::shared_ptr<const SStringedInstrumentTuning>;

/// `tarvguitar.Chord`: a chord read from its symbol.
struct Chord {
    SChordPtr chord;
};

/// `tarvguitar.Tuning`: the open pitches, fret count, capo and name of an instrument.
struct Tuning {
    TuningPtr tuning;
};

/// `tarvguitar.Shape`: a shape of a chord in a tuning, with its place in the answer it came in.
/// Its frets count from the tuning's capo; `chord` is the chord it was found for, named as it
/// is fingered (null for a fret text without a chord).
struct Shape {
    TARVPlayableShape shape;
    TuningPtr tuning;
    SChordPtr chord;
    std::size_t rank = 1;
};

/// `tarvguitar.Instrument`: an instrument of a settings file with its tunings (capo 0).
struct Instrument {
    std::string name;
    std::int64_t frets = 0;
    std::vector<std::string> capos;
    std::vector<TuningPtr> tunings;
};

/// The chord `symbol` reads as. Throws py::value_error naming the symbol when it does not read.
SChordPtr chordForSymbol(std::string_view symbol);
/// A `Chord` or a chord symbol; py::type_error for anything else.
SChordPtr chordForObject(const py::handle& object);

/// A tuning from open pitches, lowest string first ("E2 A2 D3 G3 B3 E4", also separated by
/// commas, or a sequence of pitch texts); the standard guitar tuning when `pitches` is None.
/// `frets` and `capo` replace the tuning's own where given; `name` names it ("Custom" for given
/// pitches). Throws py::value_error for pitches that do not read, no strings or more than 255,
/// and a fret count or capo outside 0 to 255 or a capo above the last fret.
TuningPtr tuningForPitches(const py::handle& pitches, std::optional<int> frets,
                           std::optional<int> capo, std::optional<std::string> name);
/// A `Tuning`, a pitch text or sequence, or None (the standard tuning), with `frets` and `capo`
/// replacing its own where given.
TuningPtr tuningForObject(const py::handle& object, std::optional<int> frets,
                          std::optional<int> capo);
/// `tuning` with its fret count, capo and name replaced where given, checked as above.
TuningPtr tuningWithChanges(const TuningPtr& tuning, std::optional<int> frets,
                            std::optional<int> capo, std::optional<std::string> name);

/// The tuning a pickled `Tuning` holds: pitch texts from string 0 up, and the rest as the
/// tuning has them. Throws py::value_error for values no tuning can have.
TuningPtr tuningFromState(const std::vector<std::string>& pitches, int frets, int capo,
                          const std::string& name, const std::string& noteString,
                          std::optional<std::vector<std::int64_t>> transform);

/// The instruments of the settings property list at `path` (the sample settings among the
/// library's resources when absent). Throws py::value_error naming the file when it does not
/// read or decode, or holds a tuning that cannot be made.
std::vector<Instrument> instrumentsInSettings(const std::optional<std::string>& path);
std::string defaultSettingsPath();

/// The per-string frets of a fret text ("x,3,2,0,1,0", or "x32010" one character a string),
/// string 0 first, read by the library as the tool reads it. Throws py::value_error saying what
/// does not read, or when the text has another number of strings than `stringCount`.
std::vector<std::int8_t> fretsOfText(const std::string& text, std::uint8_t stringCount);

/// The pitch texts of `tuning` from string 0 up.
std::vector<std::string> pitchTexts(const SStringedInstrumentTuning& tuning);
/// The open pitches from the lowest string to the highest, separated by spaces: the text
/// `tuningForPitches` reads back.
std::string tuningText(const SStringedInstrumentTuning& tuning);
/// Python's repr of a text.
std::string pythonRepr(const std::string& text);

void bindMusic(py::module_& module);
void bindShapes(py::module_& module);
void bindPlayers(py::module_& module);

} // namespace tarv::python
