#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace tarv {

/// One step of a path into a decoded tree: a dictionary key or an array index.
using TARVCodingKey = std::variant<std::string, std::size_t>;
/// The steps from the root of a decoded tree to one of its values.
using TARVCodingPath = std::vector<TARVCodingKey>;

/// A coding path as text: keys joined by ".", indexes in brackets ("tablature.instruments[0]");
/// the empty path reads "the root".
std::string TARVCodingPathString(const TARVCodingPath& codingPath);

/// Why a settings file could not be decoded, and where.
class TARVSettingsDecodingError : public std::runtime_error {
public:
    enum class Kind {
        keyNotFound,  ///< a required key is missing from a dictionary
        typeMismatch, ///< a value is not of the type its key needs
        dataCorrupted ///< the data is no property list, or a value is out of what its type holds
    };

    TARVSettingsDecodingError(Kind kind, TARVCodingPath codingPath, std::optional<std::string> key,
                              std::string debugDescription);

    /// `key` is missing from the dictionary at `codingPath`.
    static TARVSettingsDecodingError keyNotFound(const std::string& key, TARVCodingPath codingPath);
    /// The value at `codingPath` is `found` where `expected` was needed ("an integer").
    static TARVSettingsDecodingError
    typeMismatch(TARVCodingPath codingPath, const std::string& expected, const std::string& found);
    static TARVSettingsDecodingError dataCorrupted(TARVCodingPath codingPath,
                                                   std::string debugDescription);

    Kind kind() const noexcept { return _kind; }
    /// For a missing key the path of the dictionary that lacks it; otherwise the path of the
    /// value at fault.
    const TARVCodingPath& codingPath() const noexcept { return _codingPath; }
    /// `codingPath()` as text.
    std::string keyPath() const { return TARVCodingPathString(_codingPath); }
    /// The missing key of a keyNotFound error.
    const std::optional<std::string>& key() const noexcept { return _key; }
    const std::string& debugDescription() const noexcept { return _debugDescription; }

private:
    Kind _kind;
    TARVCodingPath _codingPath;
    std::optional<std::string> _key;
    std::string _debugDescription;
};

/// "keyNotFound", "typeMismatch" or "dataCorrupted".
const char* TARVSettingsDecodingErrorKindName(TARVSettingsDecodingError::Kind kind) noexcept;

} // namespace tarv
