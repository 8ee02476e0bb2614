#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVUTF8.hpp"

#include "TARVKeyedArchiveKeys.hpp"

#include <plist/plist.h>

#include <cstring>
#include <limits>
#include <map>
#include <unordered_map>
#include <utility>

namespace tarv {

namespace {

constexpr std::uint64_t kKeyedArchiveVersion = 100000;

// libplist writes integers as signed values of up to 8 bytes; only an integer that it parsed
// from text above the signed range becomes the 16-byte form that binary property lists use for
// such values.
plist_t newLargeUnsignedNode(std::uint64_t value) {
    const std::string xml =
        "<plist version=\"1.0\"><integer>" + std::to_string(value) + "</integer></plist>";
    plist_t node = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
    if (node == nullptr || plist_get_node_type(node) != PLIST_UINT) {
        if (node != nullptr) {
            plist_free(node);
        }
        node = plist_new_uint(value);
    }
    return node;
}

plist_t newNumberNode(const TARVArchiveNumber& number) {
    switch (number.kind()) {
    case TARVArchiveNumber::Kind::Boolean:
        return plist_new_bool(number.boolValue() ? 1 : 0);
    case TARVArchiveNumber::Kind::Real:
        return plist_new_real(number.doubleValue());
    case TARVArchiveNumber::Kind::Unsigned:
        if (number.bits() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return newLargeUnsignedNode(number.bits());
        }
        break;
    case TARVArchiveNumber::Kind::Signed:
        break;
    }
    return plist_new_uint(number.bits());
}

// Numbers that are written alike share one object.
std::pair<int, std::uint64_t> numberIdentity(const TARVArchiveNumber& number) {
    switch (number.kind()) {
    case TARVArchiveNumber::Kind::Boolean:
        return {2, number.bits()};
    case TARVArchiveNumber::Kind::Real: {
        const double real = number.doubleValue();
        std::uint64_t bits = 0;
        std::memcpy(&bits, &real, sizeof bits);
        return {3, bits};
    }
    case TARVArchiveNumber::Kind::Unsigned:
        if (number.bits() > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return {1, number.bits()};
        }
        break;
    case TARVArchiveNumber::Kind::Signed:
        break;
    }
    return {0, number.bits()};
}

} // namespace

struct TARVKeyedArchiver::Impl {
    struct Frame {
        plist_t dict;
        const TARVArchiveClass* cls;
    };

    explicit Impl(bool secure) : requiresSecureCoding(secure) {
        plist_array_append_item(objects, plist_new_string("$null"));
    }
    ~Impl() {
        plist_free(objects);
        plist_free(top);
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void fail(std::string message) {
        if (!error) {
            error = std::move(message);
        }
    }
    // Null once the archive is finished: nothing is written any more.
    plist_t current() const {
        if (finished) {
            return nullptr;
        }
        return stack.empty() ? top : stack.back().dict;
    }
    void set(std::string_view key, plist_t node) {
        if (key.find('\0') != std::string_view::npos || !TARVIsValidUTF8(key)) {
            fail("A key with a NUL character or that is not UTF-8 cannot be archived.");
        }
        plist_t dict = current();
        if (dict == nullptr) {
            plist_free(node);
            fail("Nothing can be added to an archive once it is finished.");
            return;
        }
        plist_dict_set_item(dict, TARVEscapedArchiveKey(key).c_str(), node);
    }
    std::uint64_t append(plist_t node) {
        plist_array_append_item(objects, node);
        return objectCount++;
    }
    std::uint64_t classReference(const TARVArchiveClass& cls) {
        const std::string name(cls.name);
        if (const auto found = classes.find(name); found != classes.end()) {
            return found->second;
        }
        plist_t chain = plist_new_array();
        for (const std::string& superclass : cls.classChain()) {
            plist_array_append_item(chain, plist_new_string(superclass.c_str()));
        }
        plist_t dict = plist_new_dict();
        plist_dict_set_item(dict, "$classes", chain);
        plist_dict_set_item(dict, "$classname", plist_new_string(name.c_str()));
        const std::uint64_t reference = append(dict);
        classes.emplace(name, reference);
        return reference;
    }
    void finish() {
        if (finished) {
            return;
        }
        if (!stack.empty()) {
            fail("The archive was finished inside an object.");
        }
        plist_t root = plist_new_dict();
        plist_dict_set_item(root, "$version", plist_new_uint(kKeyedArchiveVersion));
        plist_dict_set_item(root, "$archiver", plist_new_string("NSKeyedArchiver"));
        plist_dict_set_item(root, "$top", top);
        plist_dict_set_item(root, "$objects", objects);
        top = nullptr;
        objects = nullptr;
        finished = true;
        if (!error) {
            char* bytes = nullptr;
            std::uint32_t length = 0;
            if (format == TARVPropertyListFormat::XML) {
                plist_to_xml(root, &bytes, &length);
            } else {
                plist_to_bin(root, &bytes, &length);
            }
            if (bytes != nullptr && length > 0) {
                data.assign(reinterpret_cast<const std::uint8_t*>(bytes),
                            reinterpret_cast<const std::uint8_t*>(bytes) + length);
            } else {
                fail("The property list could not be written.");
            }
            if (format == TARVPropertyListFormat::XML) {
                plist_to_xml_free(bytes);
            } else {
                plist_to_bin_free(bytes);
            }
        }
        plist_free(root);
    }

    bool requiresSecureCoding;
    TARVPropertyListFormat format = TARVPropertyListFormat::Binary;
    plist_t objects = plist_new_array();
    plist_t top = plist_new_dict();
    std::uint64_t objectCount = 1;
    std::vector<Frame> stack;
    std::unordered_map<std::string, std::uint64_t> classes;
    std::unordered_map<std::string, std::uint64_t> texts;
    std::map<std::pair<int, std::uint64_t>, std::uint64_t> numbers;
    std::unordered_map<const void*, std::uint64_t> sharedObjects;
    std::vector<std::shared_ptr<const void>> keptAlive;
    bool finished = false;
    std::optional<std::string> error;
    std::vector<std::uint8_t> data;
};

TARVKeyedArchiver::TARVKeyedArchiver(bool requiresSecureCoding)
    : _impl(std::make_unique<Impl>(requiresSecureCoding)) {}
TARVKeyedArchiver::~TARVKeyedArchiver() = default;
TARVKeyedArchiver::TARVKeyedArchiver(TARVKeyedArchiver&&) noexcept = default;
TARVKeyedArchiver& TARVKeyedArchiver::operator=(TARVKeyedArchiver&&) noexcept = default;

bool TARVKeyedArchiver::requiresSecureCoding() const noexcept {
    return _impl->requiresSecureCoding;
}

TARVPropertyListFormat TARVKeyedArchiver::outputFormat() const noexcept {
    return _impl->format;
}

void TARVKeyedArchiver::setOutputFormat(TARVPropertyListFormat format) noexcept {
    _impl->format = format;
}

const std::vector<std::uint8_t>& TARVKeyedArchiver::encodedData() {
    _impl->finish();
    if (_impl->error) {
        _impl->data.clear();
    }
    return _impl->data;
}

const std::optional<std::string>& TARVKeyedArchiver::error() const noexcept {
    return _impl->error;
}

void TARVKeyedArchiver::encodeBool(bool value, std::string_view key) {
    _impl->set(key, plist_new_bool(value ? 1 : 0));
}

void TARVKeyedArchiver::encodeInt32(std::int32_t value, std::string_view key) {
    encodeInt64(value, key);
}

void TARVKeyedArchiver::encodeInt64(std::int64_t value, std::string_view key) {
    _impl->set(key, plist_new_uint(static_cast<std::uint64_t>(value)));
}

void TARVKeyedArchiver::encodeDouble(double value, std::string_view key) {
    _impl->set(key, plist_new_real(value));
}

void TARVKeyedArchiver::encodeNumber(const TARVArchiveNumber& number, std::string_view key) {
    _encodeReference(_encodeNumber(number), key);
}

void TARVKeyedArchiver::encodeString(std::string_view text, std::string_view key) {
    _encodeReference(_encodeText(text), key);
}

std::uint64_t TARVKeyedArchiver::_beginObject(const TARVArchiveClass& cls) {
    if (_impl->finished) {
        _impl->fail("Nothing can be added to an archive once it is finished.");
        _impl->stack.push_back({nullptr, &cls});
        return 0;
    }
    if (_impl->requiresSecureCoding && !cls.supportsSecureCoding) {
        _impl->fail("Class " + std::string(cls.name) +
                    " does not support secure coding and cannot be archived securely.");
    }
    plist_t dict = plist_new_dict();
    const std::uint64_t reference = _impl->append(dict);
    _impl->stack.push_back({dict, &cls});
    return reference;
}

void TARVKeyedArchiver::_endObject() {
    if (_impl->stack.empty()) {
        _impl->fail("An object was ended that was never begun.");
        return;
    }
    const Impl::Frame frame = _impl->stack.back();
    _impl->stack.pop_back();
    if (frame.dict != nullptr) {
        plist_dict_set_item(frame.dict, "$class", plist_new_uid(_impl->classReference(*frame.cls)));
    }
}

std::uint64_t TARVKeyedArchiver::_encodeText(std::string_view text) {
    if (_impl->finished) {
        return 0;
    }
    std::string key(text);
    if (const auto found = _impl->texts.find(key); found != _impl->texts.end()) {
        return found->second;
    }
    if (key.find('\0') != std::string::npos) {
        _impl->fail("A text with a NUL character cannot be archived.");
    }
    // Property lists hold Unicode text; bytes that are not UTF-8 would be cut or refused on
    // reading.
    if (!TARVIsValidUTF8(key)) {
        _impl->fail("A text that is not UTF-8 cannot be archived.");
    }
    const std::uint64_t reference = _impl->append(plist_new_string(key.c_str()));
    _impl->texts.emplace(std::move(key), reference);
    return reference;
}

std::uint64_t TARVKeyedArchiver::_encodeNumber(const TARVArchiveNumber& number) {
    if (_impl->finished) {
        return 0;
    }
    const auto identity = numberIdentity(number);
    if (const auto found = _impl->numbers.find(identity); found != _impl->numbers.end()) {
        return found->second;
    }
    const std::uint64_t reference = _impl->append(newNumberNode(number));
    _impl->numbers.emplace(identity, reference);
    return reference;
}

std::optional<std::uint64_t>
TARVKeyedArchiver::_referenceForSharedObject(const void* object) const {
    if (const auto found = _impl->sharedObjects.find(object); found != _impl->sharedObjects.end()) {
        return found->second;
    }
    return std::nullopt;
}

void TARVKeyedArchiver::_rememberSharedObject(std::shared_ptr<const void> object,
                                              std::uint64_t reference) {
    _impl->sharedObjects.emplace(object.get(), reference);
    // Kept so that no other object can take its address while the archive is written.
    _impl->keptAlive.push_back(std::move(object));
}

void TARVKeyedArchiver::_encodeReference(std::uint64_t reference, std::string_view key) {
    _impl->set(key, plist_new_uid(reference));
}

void TARVKeyedArchiver::_encodeReferences(std::span<const std::uint64_t> references,
                                          std::string_view key) {
    plist_t list = plist_new_array();
    for (const std::uint64_t reference : references) {
        if (reference == 0) {
            _impl->fail("A collection cannot hold nil (under key \"" + std::string(key) + "\").");
        }
        plist_array_append_item(list, plist_new_uid(reference));
    }
    _impl->set(key, list);
}

} // namespace tarv
