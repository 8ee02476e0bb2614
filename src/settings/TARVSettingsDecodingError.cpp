#include "tarv/settings/TARVSettingsDecodingError.hpp"

#include <utility>

namespace tarv {

namespace {

std::string makeMessage(TARVSettingsDecodingError::Kind kind, const TARVCodingPath& codingPath,
                        const std::optional<std::string>& key,
                        const std::string& debugDescription) {
    std::string message = TARVSettingsDecodingErrorKindName(kind);
    if (key) {
        message += " \"" + *key + "\"";
    }
    message += " at " + TARVCodingPathString(codingPath);
    if (!debugDescription.empty()) {
        message += ": " + debugDescription;
    }
    return message;
}

} // namespace

std::string TARVCodingPathString(const TARVCodingPath& codingPath) {
    if (codingPath.empty()) {
        return "the root";
    }
    std::string text;
    for (const TARVCodingKey& component : codingPath) {
        if (const auto* key = std::get_if<std::string>(&component)) {
            if (!text.empty()) {
                text += '.';
            }
            text += *key;
        } else {
            text += '[' + std::to_string(std::get<std::size_t>(component)) + ']';
        }
    }
    return text;
}

TARVSettingsDecodingError::TARVSettingsDecodingError(Kind kind, TARVCodingPath codingPath,
                                                     std::optional<std::string> key,
                                                     std::string debugDescription)
    : std::runtime_error(makeMessage(kind, codingPath, key, debugDescription)), _kind(kind),
      _codingPath(std::move(codingPath)), _key(std::move(key)),
      _debugDescription(std::move(debugDescription)) {}

TARVSettingsDecodingError TARVSettingsDecodingError::keyNotFound(const std::string& key,
                                                                 TARVCodingPath codingPath) {
    return {Kind::keyNotFound, std::move(codingPath), key, std::string()};
}

TARVSettingsDecodingError TARVSettingsDecodingError::typeMismatch(TARVCodingPath codingPath,
                                                                  const std::string& expected,
                                                                  const std::string& found) {
    return {Kind::typeMismatch, std::move(codingPath), std::nullopt,
            "expected " + expected + ", found " + found};
}

TARVSettingsDecodingError TARVSettingsDecodingError::dataCorrupted(TARVCodingPath codingPath,
                                                                   std::string debugDescription) {
    return {Kind::dataCorrupted, std::move(codingPath), std::nullopt, std::move(debugDescription)};
}

const char* TARVSettingsDecodingErrorKindName(TARVSettingsDecodingError::Kind kind) noexcept {
    switch (kind) {
    case TARVSettingsDecodingError::Kind::keyNotFound:
        return "keyNotFound";
    case TARVSettingsDecodingError::Kind::typeMismatch:
        return "typeMismatch";
    case TARVSettingsDecodingError::Kind::dataCorrupted:
        return "dataCorrupted";
    }
    return "dataCorrupted";
}

} // namespace tarv
