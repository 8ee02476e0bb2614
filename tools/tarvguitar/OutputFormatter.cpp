#include "OutputFormatter.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tarv::tool {

namespace {

std::string decimal(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.2f", std::abs(value) < 0.005 ? 0.0 : value);
    return buffer;
}

} // namespace

std::string rankSummary(const TARVPlayableShape& shape, std::size_t rank) {
    std::string text = "rank " + std::to_string(rank);
    if (!shape.terms().empty()) {
        text += ", score " + decimal(shape.score());
    }
    if (shape.badness()) {
        text += ", badness " + std::to_string(*shape.badness());
    }
    return text;
}

std::vector<std::string> termLines(const TARVPlayableShape& shape) {
    std::vector<TARVPlayableShape::Term> terms = shape.terms();
    std::stable_sort(terms.begin(), terms.end(), [](const auto& a, const auto& b) {
        return std::abs(a.contribution()) > std::abs(b.contribution());
    });
    std::vector<std::string> lines;
    for (const TARVPlayableShape::Term& term : terms) {
        if (term.value == 0) {
            continue;
        }
        lines.push_back(std::string(term.name) + " " + decimal(term.value) + " x " +
                        decimal(term.weight) + " = " + decimal(term.contribution()));
    }
    return lines;
}

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
