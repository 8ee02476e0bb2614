#include "OutputFormatter.hpp"

namespace tarv::tool {

std::vector<std::string> noteTexts(const std::vector<SNote>& notes) {
    std::vector<std::string> texts;
    texts.reserve(notes.size());
    for (const SNote& note : notes) {
        texts.push_back(note.string());
    }
    return texts;
}

std::string tuningSummary(const SStringedInstrumentTuning& tuning,
                          const std::string& instrumentName) {
    std::string summary = (instrumentName.empty() ? std::string() : instrumentName + ", ") +
                          (tuning.name() ? *tuning.name() : std::string()) + " tuning (" +
                          tuning.noteString() + ", " + std::to_string(tuning.fretCount()) +
                          (tuning.fretCount() == 1 ? " fret" : " frets");
    if (tuning.capo() > 0) {
        summary += ", capo " + std::to_string(tuning.capo());
    }
    return summary + ")";
}

} // namespace tarv::tool
