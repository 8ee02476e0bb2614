// The instrument dictionary form, given as JSON text or as a property list (XML or binary): a
// description, or std::invalid_argument naming what cannot be read.

#include "FuzzSupport.hpp"

#include "tarv/archive/TARVPropertyListJSON.hpp"
#include "tarv/instruments/SStringedInstrumentDescription.hpp"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tarv;
    if (size < 1) {
        return 0;
    }
    const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
    nlohmann::json dictionary;
    try {
        dictionary =
            (data[0] & 1) ? TARVJSONWithPropertyListData(text) : nlohmann::json::parse(text);
    } catch (const nlohmann::json::exception&) {
        // Not JSON, or a number beyond what JSON numbers hold here.
        return 0;
    } catch (const std::invalid_argument&) {
        return 0;
    }
    // What the property list reading answers is JSON that writes out.
    (void)dictionary.dump();
    try {
        const auto description =
            SStringedInstrumentDescription::stringedInstrumentDescriptionWithDictionary(dictionary);
        TARV_FUZZ_CHECK(description != nullptr, "no description and no error");
        (void)description->hash();
        (void)description->tuning()->asciiNoteString();
        (void)description->copyWithoutCapo();
    } catch (const std::invalid_argument& error) {
        TARV_FUZZ_CHECK(*error.what() != '\0', "an error without a message");
    }
    return 0;
}
