#pragma once

#include "tarv/shapes/TARVChordShape.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tarv {

/// A chord object of a tuning dictionary as read from text: its name, its note string and its
/// shapes, built but not yet filed under a key.
struct TARVReadChord {
    std::string name;
    std::string asciiNoteString;
    std::vector<TARVChordShapePtr> shapes;
};

/// Reads the text of one tuning dictionary, or of a list of them, straight into shapes, without
/// building a JSON tree first. It accepts what the tree-based reading accepts: keys in any order,
/// other keys ignored, a key given twice counted with its last value, numbers cut to their low 8
/// bits (a fraction truncated toward zero; a number whose integer part does not fit 64 bits is of
/// the wrong form); anything else of the wrong form (a missing key, a value of the wrong type) is
/// an error.
class TARVTuningDictionaryReader {
public:
    enum class TopLevel { Dictionary, ListOfDictionaries };

    /// The chords in the order they stand in the text; nothing, with `error` set, when the text
    /// is not JSON or not of the form.
    static std::optional<std::vector<TARVReadChord>> read(std::string_view text, TopLevel topLevel,
                                                          std::string& error);
    /// The integer a JSON number with a fraction or an exponent stands for: truncated toward
    /// zero; nothing when it is not finite or its integer part does not fit 64 bits, signed.
    static std::optional<std::int64_t> integerOfFloat(double value) noexcept;
};

} // namespace tarv
