#include "tarv/settings/TARVPropertyListDecoder.hpp"

#include "archive/TARVPropertyListText.hpp"
#include "tarv/archive/TARVUTF8.hpp"

#include <plist/plist.h>

#include <cmath>
#include <limits>
#include <utility>

namespace tarv {

namespace {

struct PlistFree {
    void operator()(void* node) const noexcept { plist_free(node); }
};

std::string typeName(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return "a boolean";
    case PLIST_UINT:
        return "an integer";
    case PLIST_REAL:
        return "a real";
    case PLIST_STRING:
    case PLIST_KEY:
        return "a string";
    case PLIST_ARRAY:
        return "an array";
    case PLIST_DICT:
        return "a dictionary";
    case PLIST_DATE:
        return "a date";
    case PLIST_DATA:
        return "data";
    case PLIST_UID:
        return "a UID";
    case PLIST_NONE:
        break;
    }
    return "nothing";
}

TARVCodingPath appending(TARVCodingPath path, TARVCodingKey component) {
    path.push_back(std::move(component));
    return path;
}

std::string stringValue(plist_t node, const TARVCodingPath& path) {
    if (plist_get_node_type(node) != PLIST_STRING) {
        throw TARVSettingsDecodingError::typeMismatch(path, "a string", typeName(node));
    }
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    std::string value(text, static_cast<std::size_t>(length));
    if (!TARVIsValidUTF8(value)) {
        throw TARVSettingsDecodingError::dataCorrupted(path, "the string is not UTF-8");
    }
    return value;
}

std::int64_t int64Value(plist_t node, const TARVCodingPath& path) {
    switch (plist_get_node_type(node)) {
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            // The reader keeps negative values and those of 2^63 and above apart internally;
            // only a negative value compares equal to a node made from the same bits.
            const std::unique_ptr<void, PlistFree> signedNode(plist_new_uint(value));
            if (plist_compare_node_value(node, signedNode.get()) == 0) {
                throw TARVSettingsDecodingError::dataCorrupted(
                    path,
                    "number " + std::to_string(value) + " does not fit in a signed 64-bit integer");
            }
        }
        return static_cast<std::int64_t>(value);
    }
    case PLIST_REAL: {
        double value = 0;
        plist_get_real_val(node, &value);
        if (!std::isfinite(value) || std::trunc(value) != value || value < -9223372036854775808.0 ||
            value >= 9223372036854775808.0) {
            throw TARVSettingsDecodingError::dataCorrupted(
                path,
                "number " + std::to_string(value) + " does not fit in a signed 64-bit integer");
        }
        return static_cast<std::int64_t>(value);
    }
    default:
        throw TARVSettingsDecodingError::typeMismatch(path, "an integer", typeName(node));
    }
}

template <class Element, class Read>
std::vector<Element> arrayValue(plist_t array, const TARVCodingPath& path, Read read) {
    const std::uint32_t count = plist_array_get_size(array);
    std::vector<Element> result;
    result.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        result.push_back(read(plist_array_get_item(array, i), appending(path, std::size_t{i})));
    }
    return result;
}

} // namespace

TARVPropertyListDecoder::TARVPropertyListDecoder(std::shared_ptr<void> tree, void* dictionary,
                                                 TARVCodingPath codingPath) noexcept
    : _tree(std::move(tree)), _dictionary(dictionary), _codingPath(std::move(codingPath)) {}

TARVPropertyListDecoder TARVPropertyListDecoder::decoderWithData(std::string_view data) {
    if (data.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw TARVSettingsDecodingError::dataCorrupted({}, "the data is too large to read");
    }
    // The property list reader recurses once per level of nesting; settings nest a few levels,
    // so a far deeper file is refused before the reader sees it.
    constexpr std::size_t kMaxNesting = 128;
    std::string error;
    const auto readable = TARVReadablePropertyList(data, kMaxNesting, error);
    if (!readable) {
        throw TARVSettingsDecodingError::dataCorrupted({}, error);
    }
    plist_t root = nullptr;
    plist_from_memory(readable->data(), static_cast<std::uint32_t>(readable->size()), &root);
    if (root == nullptr) {
        throw TARVSettingsDecodingError::dataCorrupted({}, "the data is not a property list");
    }
    std::shared_ptr<void> tree(root, PlistFree());
    if (plist_get_node_type(root) != PLIST_DICT) {
        throw TARVSettingsDecodingError::typeMismatch({}, "a dictionary", typeName(root));
    }
    return {std::move(tree), root, {}};
}

TARVCodingPath TARVPropertyListDecoder::_pathTo(std::string_view key) const {
    return appending(_codingPath, std::string(key));
}

bool TARVPropertyListDecoder::contains(std::string_view key) const {
    return plist_dict_get_item(_dictionary, std::string(key).c_str()) != nullptr;
}

void* TARVPropertyListDecoder::_valueForKey(std::string_view key) const {
    const std::string name(key);
    plist_t value = plist_dict_get_item(_dictionary, name.c_str());
    if (value == nullptr) {
        throw TARVSettingsDecodingError::keyNotFound(name, _codingPath);
    }
    return value;
}

void* TARVPropertyListDecoder::_arrayForKey(std::string_view key) const {
    plist_t value = _valueForKey(key);
    if (plist_get_node_type(value) != PLIST_ARRAY) {
        throw TARVSettingsDecodingError::typeMismatch(_pathTo(key), "an array", typeName(value));
    }
    return value;
}

std::string TARVPropertyListDecoder::decodeString(std::string_view key) const {
    return stringValue(_valueForKey(key), _pathTo(key));
}

std::int64_t TARVPropertyListDecoder::decodeInt64(std::string_view key) const {
    return int64Value(_valueForKey(key), _pathTo(key));
}

std::vector<std::string> TARVPropertyListDecoder::decodeStringArray(std::string_view key) const {
    return arrayValue<std::string>(_arrayForKey(key), _pathTo(key), stringValue);
}

std::vector<std::int64_t> TARVPropertyListDecoder::decodeInt64Array(std::string_view key) const {
    return arrayValue<std::int64_t>(_arrayForKey(key), _pathTo(key), int64Value);
}

std::optional<std::vector<std::int64_t>>
TARVPropertyListDecoder::decodeInt64ArrayIfPresent(std::string_view key) const {
    if (!contains(key)) {
        return std::nullopt;
    }
    return decodeInt64Array(key);
}

TARVPropertyListDecoder TARVPropertyListDecoder::nestedDecoder(std::string_view key) const {
    plist_t value = _valueForKey(key);
    TARVCodingPath path = _pathTo(key);
    if (plist_get_node_type(value) != PLIST_DICT) {
        throw TARVSettingsDecodingError::typeMismatch(std::move(path), "a dictionary",
                                                      typeName(value));
    }
    return {_tree, value, std::move(path)};
}

std::size_t TARVPropertyListDecoder::decodeArrayCount(std::string_view key) const {
    return plist_array_get_size(_arrayForKey(key));
}

TARVPropertyListDecoder TARVPropertyListDecoder::nestedDecoder(std::string_view key,
                                                               std::size_t index) const {
    plist_t array = _arrayForKey(key);
    TARVCodingPath path = appending(_pathTo(key), index);
    if (index >= plist_array_get_size(array)) {
        throw std::out_of_range("nestedDecoder: index " + std::to_string(index) + " outside " +
                                TARVCodingPathString(_pathTo(key)));
    }
    plist_t value = plist_array_get_item(array, static_cast<std::uint32_t>(index));
    if (plist_get_node_type(value) != PLIST_DICT) {
        throw TARVSettingsDecodingError::typeMismatch(std::move(path), "a dictionary",
                                                      typeName(value));
    }
    return {_tree, value, std::move(path)};
}

} // namespace tarv
