#pragma once

// Helpers for tests of keyed archives: files, hand-written XML archives, and a look into the
// property list an archive is made of.

#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarv::testing {

inline std::filesystem::path archiveDataDirectory() {
    return std::filesystem::path(TARV_TEST_DATA_DIR) / "archives";
}

inline std::vector<std::uint8_t> readBytes(const std::filesystem::path& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

inline std::vector<std::uint8_t> readArchive(std::string_view name) {
    return readBytes(archiveDataDirectory() / name);
}

inline void writeBytes(const std::filesystem::path& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream stream(path, std::ios::binary | std::ios::trunc);
    stream.write(reinterpret_cast<const char*>(bytes.data()),
                 static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<std::uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

/// Golden archives are rewritten, instead of compared, when this variable is set.
inline bool regeneratingGoldenFiles() {
    return std::getenv("TARV_REGENERATE_GOLDEN") != nullptr;
}

/// The XML spelling of a reference.
inline std::string uid(std::uint64_t reference) {
    return "<dict><key>CF$UID</key><integer>" + std::to_string(reference) + "</integer></dict>";
}

/// A class dictionary.
inline std::string classDictionary(std::initializer_list<std::string_view> chain) {
    std::string xml = "<dict><key>$classname</key><string>" + std::string(*chain.begin()) +
                      "</string><key>$classes</key><array>";
    for (const std::string_view name : chain) {
        xml += "<string>" + std::string(name) + "</string>";
    }
    return xml + "</array></dict>";
}

/// A keyed archive as XML: `top` holds the keys and values of "$top", `objects` the entries of
/// "$objects" after "$null".
inline std::vector<std::uint8_t> keyedArchiveXML(std::string_view top,
                                                 std::initializer_list<std::string_view> objects) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<plist version=\"1.0\"><dict>"
                      "<key>$archiver</key><string>NSKeyedArchiver</string>"
                      "<key>$version</key><integer>100000</integer>"
                      "<key>$top</key><dict>";
    xml += top;
    xml += "</dict><key>$objects</key><array><string>$null</string>";
    for (const std::string_view object : objects) {
        xml += object;
    }
    xml += "</array></dict></plist>\n";
    return bytesOf(xml);
}

/// The property list of an archive, for looking at its layout.
class PropertyList {
public:
    explicit PropertyList(const std::vector<std::uint8_t>& bytes) {
        const char* data = reinterpret_cast<const char*>(bytes.data());
        const auto length = static_cast<std::uint32_t>(bytes.size());
        if (plist_is_binary(data, length)) {
            plist_from_bin(data, length, &_root);
        } else {
            plist_from_xml(data, length, &_root);
        }
    }
    ~PropertyList() {
        if (_root != nullptr) {
            plist_free(_root);
        }
    }
    PropertyList(const PropertyList&) = delete;
    PropertyList& operator=(const PropertyList&) = delete;

    plist_t root() const { return _root; }
    plist_t objects() const { return item(_root, "$objects"); }
    plist_t object(std::uint64_t reference) const {
        return plist_array_get_item(objects(), static_cast<std::uint32_t>(reference));
    }
    std::uint32_t objectCount() const { return plist_array_get_size(objects()); }
    /// The object that `node` (a reference) refers to.
    plist_t resolve(plist_t node) const {
        const auto reference = uidValue(node);
        return reference ? object(*reference) : nullptr;
    }
    /// The class chain of the object `node` (a dictionary with "$class").
    std::vector<std::string> classChain(plist_t node) const {
        std::vector<std::string> chain;
        plist_t cls = resolve(item(node, "$class"));
        plist_t list = item(cls, "$classes");
        for (std::uint32_t i = 0; list != nullptr && i < plist_array_get_size(list); ++i) {
            chain.push_back(text(plist_array_get_item(list, i)).value_or("?"));
        }
        return chain;
    }
    std::optional<std::string> className(plist_t node) const {
        return text(item(resolve(item(node, "$class")), "$classname"));
    }

    static plist_t item(plist_t dict, const char* key) {
        if (dict == nullptr || plist_get_node_type(dict) != PLIST_DICT) {
            return nullptr;
        }
        return plist_dict_get_item(dict, key);
    }
    static std::optional<std::string> text(plist_t node) {
        if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
            return std::nullopt;
        }
        std::uint64_t length = 0;
        const char* value = plist_get_string_ptr(node, &length);
        return std::string(value, length);
    }
    static std::optional<std::uint64_t> integer(plist_t node) {
        if (node == nullptr || plist_get_node_type(node) != PLIST_UINT) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        return value;
    }
    static std::optional<std::uint64_t> uidValue(plist_t node) {
        if (node == nullptr || plist_get_node_type(node) != PLIST_UID) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return value;
    }

private:
    plist_t _root = nullptr;
};

} // namespace tarv::testing
