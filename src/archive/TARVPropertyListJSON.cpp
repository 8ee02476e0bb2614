#include "tarv/archive/TARVPropertyListJSON.hpp"

#include "TARVPropertyListText.hpp"
#include "tarv/archive/TARVUTF8.hpp"

#include <nlohmann/json.hpp>
#include <plist/plist.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace tarv {

namespace {

using json = nlohmann::json;

struct PlistFree {
    void operator()(void* node) const noexcept { plist_free(node); }
};
using PlistHolder = std::unique_ptr<void, PlistFree>;

/// The signed value of an integer node. The reader keeps values of 2^63 and above apart from
/// negative ones only internally; comparing with a node made from the signed value tells them
/// apart, and those are kept as unsigned.
json integerJSON(plist_t node) {
    std::uint64_t value = 0;
    plist_get_uint_val(node, &value);
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        const PlistHolder signedNode(plist_new_uint(value));
        if (plist_compare_node_value(node, signedNode.get()) == 0) {
            return json(value);
        }
    }
    return json(static_cast<std::int64_t>(value));
}

std::string dateText(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    // Property-list dates count from 2001-01-01T00:00:00Z.
    const std::time_t time = static_cast<std::time_t>(seconds) + 978307200;
    std::tm parts{};
    gmtime_r(&time, &parts);
    char buffer[64];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%dT%H:%M:%S", &parts);
    std::string text = buffer;
    if (microseconds != 0) {
        std::snprintf(buffer, sizeof buffer, ".%06d", static_cast<int>(std::abs(microseconds)));
        text += buffer;
    }
    return text + "Z";
}

/// JSON holds only UTF-8 text; a property list text that is not (raw bytes in XML) is refused
/// here rather than left to fail when the JSON is written.
std::string checkedText(std::string text) {
    if (!TARVIsValidUTF8(text)) {
        throw std::invalid_argument("property list: a text is not UTF-8");
    }
    return text;
}

json jsonFromNode(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return json(value != 0);
    }
    case PLIST_UINT:
        return integerJSON(node);
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        return json(value);
    }
    case PLIST_STRING:
    case PLIST_KEY: {
        std::uint64_t length = 0;
        const char* text = plist_get_string_ptr(node, &length);
        return json(checkedText(std::string(text, static_cast<std::size_t>(length))));
    }
    case PLIST_ARRAY: {
        json array = json::array();
        const std::uint32_t count = plist_array_get_size(node);
        for (std::uint32_t i = 0; i < count; ++i) {
            array.push_back(jsonFromNode(plist_array_get_item(node, i)));
        }
        return array;
    }
    case PLIST_DICT: {
        json object = json::object();
        plist_dict_iter iterator = nullptr;
        plist_dict_new_iter(node, &iterator);
        // Freed also when reading a value throws.
        const std::unique_ptr<void, decltype(&std::free)> iteratorHolder(iterator, &std::free);
        for (;;) {
            // Keys holding a NUL character, which libplist's iterator stops the process on, are
            // refused before the tree is read.
            char* key = nullptr;
            plist_t item = nullptr;
            plist_dict_next_item(node, iterator, &key, &item);
            if (key == nullptr) {
                break;
            }
            std::string name = key;
            std::free(key);
            object[checkedText(std::move(name))] = jsonFromNode(item);
        }
        return object;
    }
    case PLIST_DATE:
        return json(dateText(node));
    case PLIST_DATA: {
        std::uint64_t length = 0;
        const char* bytes = plist_get_data_ptr(node, &length);
        const auto* begin = reinterpret_cast<const std::uint8_t*>(bytes);
        return json::binary(std::vector<std::uint8_t>(begin, begin + length));
    }
    case PLIST_UID: {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return json(value);
    }
    case PLIST_NONE:
        break;
    }
    return json();
}

} // namespace

json TARVJSONWithPropertyListData(std::string_view data) {
    if (data.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw std::invalid_argument("property list: too large to read");
    }
    // The tree is walked recursively, so nesting is bounded as the other readers bound it.
    constexpr std::size_t kMaxNesting = 128;
    std::string error;
    const auto readable = TARVReadablePropertyList(data, kMaxNesting, error);
    if (!readable) {
        throw std::invalid_argument("property list: " + error);
    }
    plist_t root = nullptr;
    plist_from_memory(readable->data(), static_cast<std::uint32_t>(readable->size()), &root);
    const PlistHolder holder(root);
    if (root == nullptr) {
        throw std::invalid_argument("property list: the data is not a property list");
    }
    return jsonFromNode(root);
}

} // namespace tarv
