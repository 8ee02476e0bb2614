#pragma once

#include "tarv/ranking/TARVPlayableOptions.hpp"

#include <cstddef>
#include <cstdint>

namespace tarv {

/// How `TARVProgression` chooses shapes for a chord progression.
struct TARVProgressionOptions {
    /// How many of each chord's best shapes the choice is made among.
    std::size_t candidates = 8;
    /// How many whole arrangements to answer, best first.
    std::size_t alternatives = 1;
    /// The playable search each chord's candidates come from (its `maximumShapes` is replaced by
    /// `candidates`).
    TARVPlayableOptions playable;

    /// Weights of the movement between neighbouring shapes, added to the shapes' own scores.
    /// Per fret the hand moves along the neck (between the lowest fretted frets; a shape that
    /// frets nothing sits at the first fret).
    double fretDistanceWeight = 0.15;
    /// Per finger that must be lifted and set down again: every finger of the next shape that
    /// does not stay on the same string and fret.
    double fingersMovedWeight = 0.1;
    /// Per note of the next chord that the previous shape did not sound (common tones cost
    /// nothing).
    double newTonesWeight = 0.05;
    /// Per semitone the voices move, on each string that sounds in both shapes.
    double voiceLeadingWeight = 0.02;
    /// With `TARVProgression::capoChoices`: the highest capo fret tried.
    std::uint8_t highestCapo = 7;
    /// With `TARVProgression::capoChoices`: per fret of the capo. A capo high on the neck thins
    /// the sound and crowds the frets, so players keep it low when a lower one plays as well.
    double capoFretWeight = 0.4;
};

} // namespace tarv
