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

std::string decimalText(double value) {
    return decimal(value);
}

SChordPtr playedChord(const SChordPtr& chord, const SStringedInstrumentTuning& tuning) {
    return tuning.capo() == 0 ? chord : TARVChordNaming::transposedChord(chord, -tuning.capo());
}

std::string chordTitle(const SChordPtr& chord, const SStringedInstrumentTuning& tuning) {
    if (tuning.capo() == 0) {
        return chord->symbol();
    }
    const SChordPtr played = playedChord(chord, tuning);
    return (played ? played->name() : chord->symbol()) + " (capo " + std::to_string(tuning.capo()) +
           ", sounds as " + chord->symbol() + ")";
}

std::string nameText(const TARVChordNaming::Name& name) {
    std::string text = name.symbol;
    std::vector<std::string> notes;
    if (name.kind == TARVChordNaming::Kind::Rootless) {
        notes.push_back("rootless");
    }
    if (!name.omittedNotes.empty()) {
        std::string omitted = "no";
        for (const SNote& note : name.omittedNotes) {
            omitted += " " + note.string();
        }
        notes.push_back(omitted);
    }
    if (!notes.empty()) {
        text += " (";
        for (std::size_t i = 0; i < notes.size(); ++i) {
            text += (i > 0 ? ", " : "") + notes[i];
        }
        text += ")";
    }
    return text;
}

SChordPtr soundingChord(const TARVChordNaming::Name& name,
                        const SStringedInstrumentTuning& tuning) {
    return TARVChordNaming::transposedChord(name.chord, tuning.capo());
}

std::string capoChoiceText(const TARVProgression::CapoChoice& choice) {
    std::string text = choice.capo == 0 ? "no capo:" : "capo " + std::to_string(choice.capo) + ":";
    for (const SChordPtr& chord : choice.writtenChords) {
        text += " " + (chord ? chord->name() : std::string("?"));
    }
    return text + " (cost " + decimal(choice.cost) + ")";
}

std::string rankSummary(const TARVPlayableShape& shape, std::size_t rank) {
    std::string text = "rank " + std::to_string(rank);
    if (!shape.terms().empty()) {
        text += ", score " + decimal(shape.score());
    }
    // Shapes read from the cache's files all carry badness 0, which tells a player nothing.
    if (shape.badness() && *shape.badness() > 0) {
        text += ", badness " + std::to_string(*shape.badness());
    }
    return text;
}

std::vector<std::string> termLines(const TARVPlayableShape& shape) {
    const TARVPlayableShape::Terms shapeTerms = shape.terms();
    std::vector<TARVPlayableShape::Term> terms(shapeTerms.begin(), shapeTerms.end());
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

std::vector<SNote> soundingNotes(const TARVPlayableShape& shape,
                                 const SStringedInstrumentTuning& tuning) {
    std::vector<SNote> notes = shape.chordShape()->notesInTuning(tuning);
    for (SNote& note : notes) {
        note = note.noteWithOffset(static_cast<std::int8_t>(tuning.capo()));
    }
    return notes;
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
