// A program built against the installed library, as an application would be.
#include <tarv/generation/TARVChordShapeGenerator.hpp>
#include <tarv/instruments/SStringedInstrumentTuning.hpp>
#include <tarv/music/SChord.hpp>

#include <iostream>

int main() {
    const auto tuning = tarv::SStringedInstrumentTuning::stringedInstrumentTuning();
    const auto chord = tarv::SChord::chordWithString("C");
    if (!chord) {
        return 1;
    }
    const auto generator = tarv::TARVChordShapeGenerator::initUncachedWithChord(chord, tuning);
    if (!generator->shapes() || generator->shapes()->empty()) {
        return 1;
    }
    std::cout << tuning->asciiNoteString() << " " << generator->shapes()->size() << " shapes\n";
    return 0;
}
