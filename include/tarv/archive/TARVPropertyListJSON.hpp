#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string_view>

namespace tarv {

/// The tree of a property list (XML or binary) as JSON, so that it can be handed to
/// `stringedInstrumentDescriptionWithDictionary`: dictionaries become objects, arrays arrays,
/// strings strings, integers signed integers, reals numbers, booleans booleans, data binary
/// values, dates ISO 8601 texts and UIDs unsigned integers.
/// Throws std::invalid_argument when `data` is not a property list, nests deeper than 128
/// levels, holds a text that is not UTF-8 or an XML integer that is not one of 64 bits.
nlohmann::json TARVJSONWithPropertyListData(std::string_view data);

} // namespace tarv
