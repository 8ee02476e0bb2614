#include "tarv/shapes/TARVChordShape.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>

namespace tarv {

nlohmann::json TARVChordShape::serializationDictionary() const {
    nlohmann::json dictionary = nlohmann::json::object();
    dictionary["fret"] = _baseFret;

    // An ordered set of the non-barre marks; the last barre of the list is spelled out below.
    std::vector<TARVFretIndicator> marks;
    marks.reserve(_indicators.size());
    std::optional<TARVFretIndicator> barre;
    for (const TARVFretIndicator& indicator : _indicators) {
        if (indicator.isBarre()) {
            barre = indicator;
            continue;
        }
        const bool present = std::any_of(marks.begin(), marks.end(), [&](const auto& mark) {
            return mark.isEqual(indicator) && mark.hash() == indicator.hash();
        });
        if (!present) {
            marks.push_back(indicator);
        }
    }
    if (barre) {
        for (unsigned string = barre->string(); string <= barre->endString(); ++string) {
            const bool marked = std::any_of(marks.begin(), marks.end(), [&](const auto& mark) {
                return mark.string() == string;
            });
            if (!marked) {
                marks.emplace_back(barre->fret(), static_cast<std::uint8_t>(string));
            }
        }
    }
    std::stable_sort(marks.begin(), marks.end(),
                     [](const auto& a, const auto& b) { return a.string() < b.string(); });

    nlohmann::json frets = nlohmann::json::array();
    for (const TARVFretIndicator& mark : marks) {
        frets.push_back(static_cast<int>(mark.fret()));
    }
    dictionary["indicators"] = std::move(frets);
    return dictionary;
}

} // namespace tarv
