#pragma once

#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

/// Reads one dictionary of a property list (XML or binary) by key, with the path that leads to
/// it. Every read either answers a value of the asked type or throws a
/// `TARVSettingsDecodingError`: keyNotFound for a missing key, typeMismatch for a value of
/// another type, dataCorrupted for a number that does not fit. Keys that are never asked for
/// are ignored. Decoders of one tree share it, so a nested decoder may outlive its parent.
class TARVPropertyListDecoder {
public:
    /// The decoder of the root dictionary of `data`. Throws dataCorrupted when `data` is no
    /// property list and typeMismatch when its root is not a dictionary.
    static TARVPropertyListDecoder decoderWithData(std::string_view data);

    /// The path from the root to this dictionary.
    const TARVCodingPath& codingPath() const noexcept { return _codingPath; }

    bool contains(std::string_view key) const;

    std::string decodeString(std::string_view key) const;
    /// An integer, or a real with an integral value that a signed 64-bit integer holds.
    std::int64_t decodeInt64(std::string_view key) const;
    std::vector<std::string> decodeStringArray(std::string_view key) const;
    std::vector<std::int64_t> decodeInt64Array(std::string_view key) const;
    /// No list when the key is absent.
    std::optional<std::vector<std::int64_t>> decodeInt64ArrayIfPresent(std::string_view key) const;

    /// The decoder of the dictionary under `key`.
    TARVPropertyListDecoder nestedDecoder(std::string_view key) const;
    /// The number of elements of the array under `key`.
    std::size_t decodeArrayCount(std::string_view key) const;
    /// The decoder of the dictionary at `index` of the array under `key`.
    TARVPropertyListDecoder nestedDecoder(std::string_view key, std::size_t index) const;

    /// The array of dictionaries under `key`, each decoded by `T`'s decoding constructor.
    template <class T> std::vector<T> decodeArray(std::string_view key) const {
        const std::size_t count = decodeArrayCount(key);
        std::vector<T> result;
        result.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            result.push_back(T(nestedDecoder(key, i)));
        }
        return result;
    }

private:
    TARVPropertyListDecoder(std::shared_ptr<void> tree, void* dictionary,
                            TARVCodingPath codingPath) noexcept;

    void* _valueForKey(std::string_view key) const;
    void* _arrayForKey(std::string_view key) const;
    TARVCodingPath _pathTo(std::string_view key) const;

    std::shared_ptr<void> _tree;
    void* _dictionary;
    TARVCodingPath _codingPath;
};

} // namespace tarv
