#pragma once

#include "tarv/instruments/SStringedInstrumentTuning.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tarv {

/// Tunings and fret-number texts as people type them, read with messages that say what is wrong.
/// The command-line tool and the Python and web packages read their input through it.
class TARVInstrumentText {
public:
    /// Input that does not read. The message names the input and says what is wrong with it.
    class Error : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// An instrument as a person describes it.
    struct TuningRequest {
        /// Open-string pitches from the lowest string to the highest ("E2 A2 D3 G3 B3 E4",
        /// blanks or commas between them); absent for the standard guitar tuning.
        std::optional<std::string> pitches;
        /// The display name of a custom tuning; absent for "Custom".
        std::optional<std::string> name;
        std::optional<int> fretCount;
        std::optional<int> capo;
    };

    /// The tuning `request` describes: the standard guitar tuning unless pitches are given; its
    /// fret count and capo replaced where given. Throws Error for pitches that do not read, for
    /// no strings or more than `maximumStrings` (at most 255), and for a fret count or capo
    /// outside 0 to 255.
    static SStringedInstrumentTuningPtr tuningForRequest(const TuningRequest& request,
                                                         std::size_t maximumStrings = 255);

    /// A fret-number text checked and brought to the form the shape notation reads.
    struct FretText {
        /// The text as `TARVChordShape::shapeForFretNumberString` reads it ("x,3,2,0,1,0").
        std::string notation;
        std::uint8_t stringCount = 0;
        /// The highest fret of the text (0 when every string is muted or open).
        int highestFret = 0;
    };
    /// Components separated by ",", each "x" (or "X") for a muted string or an absolute fret
    /// from 0 to 127, blanks around components ignored. A text without commas of two or more
    /// characters, each a digit or "x", is read one character per string ("x32010"). Throws
    /// Error otherwise.
    static FretText readFretText(std::string_view text);

    /// `text` without the blanks (spaces, tabs, carriage returns, line ends) at either end.
    static std::string_view trimmed(std::string_view text);
};

} // namespace tarv
