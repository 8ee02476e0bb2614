#include "tarv/settings/TARVPropertyListEncoder.hpp"

#include <plist/plist.h>

#include <cstdlib>

namespace tarv {

void TARVPropertyListEncoder::Free::operator()(void* node) const noexcept {
    plist_free(node);
}

TARVPropertyListEncoder::TARVPropertyListEncoder() : _dictionary(plist_new_dict()) {}

void TARVPropertyListEncoder::encode(std::string_view key, const std::string& value) {
    plist_dict_set_item(_dictionary.get(), std::string(key).c_str(),
                        plist_new_string(value.c_str()));
}

void TARVPropertyListEncoder::encode(std::string_view key, std::int64_t value) {
    // A node made from the signed value's bits is written as that signed value.
    plist_dict_set_item(_dictionary.get(), std::string(key).c_str(),
                        plist_new_uint(static_cast<std::uint64_t>(value)));
}

std::string TARVPropertyListEncoder::xmlData() const {
    char* data = nullptr;
    std::uint32_t length = 0;
    plist_to_xml(_dictionary.get(), &data, &length);
    std::string result = data != nullptr ? std::string(data, length) : std::string();
    plist_to_xml_free(data);
    return result;
}

std::string TARVPropertyListEncoder::binaryData() const {
    char* data = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(_dictionary.get(), &data, &length);
    std::string result = data != nullptr ? std::string(data, length) : std::string();
    plist_to_bin_free(data);
    return result;
}

} // namespace tarv
