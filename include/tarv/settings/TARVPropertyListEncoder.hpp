#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tarv {

/// Writes one property-list dictionary by key and answers it as an XML or binary property list.
class TARVPropertyListEncoder {
public:
    /// An encoder of an empty dictionary.
    TARVPropertyListEncoder();

    /// Stores `value` under `key`, replacing what was there.
    void encode(std::string_view key, const std::string& value);
    void encode(std::string_view key, std::int64_t value);

    /// The dictionary as an XML property list.
    std::string xmlData() const;
    /// The dictionary as a binary property list.
    std::string binaryData() const;

private:
    struct Free {
        void operator()(void* node) const noexcept;
    };
    std::unique_ptr<void, Free> _dictionary;
};

} // namespace tarv
