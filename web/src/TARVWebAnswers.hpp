#pragma once

#include <string>

namespace tarv::web {

/// {"symbol", "tuning", "tuningName", "frets", "capo", "rank", "limit"} -> {"chord", "tuning",
/// "shapes"}. "tuning" holds the open strings from the lowest ("E2 A2 D3 G3 B3 E4"), read as the
/// tool reads --tuning; without it the standard guitar tuning.
std::string shapesAnswer(const char* requestText);
/// {"notation": "x,0,2,0,1,0", "tuning", "tuningName", "frets", "capo", "limit"} -> the answer
/// of `tarvguitar name`: {"notation", "tuning", "capo" (with a capo), "names", "shape"}. The
/// fret text counts from the capo; the names read the shape as fingered.
std::string namesAnswer(const char* requestText);
/// {"chords": "C Am F G" or ["C", "Am", ...], "tuning", "tuningName", "frets", "capo" (a fret or
/// "auto"), "alternatives", "candidates", "transpose"} -> the answer of `tarvguitar
/// progression`: {"progression", "tuning", "capo", "capoChoices" (with "auto"),
/// "arrangements"}.
std::string progressionAnswer(const char* requestText);
/// A chord symbol -> {"symbol", "root", "bass", "notes", "characteristicNotes", ...}.
std::string chordAnswer(const char* symbol);
/// {"tuning", "tuningName", "frets", "capo"} -> the tuning the library reads from it, with the
/// "semitones" above C0 of its open strings, string 0 first.
std::string tuningAnswer(const char* requestText);
/// {"frets": "x,3,2,0,1,0", "leftHanded", "caption"} -> {"svg": "<svg ...>"}.
std::string svgAnswer(const char* requestText);
/// The chord qualities the symbol reader knows, as suffixes ("", "m", "maj7", ...).
std::string qualitiesAnswer();
std::string versionAnswer();
/// {"error": message}.
std::string errorAnswer(const std::string& message);

} // namespace tarv::web
