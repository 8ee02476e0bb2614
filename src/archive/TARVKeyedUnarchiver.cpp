#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include "TARVPropertyListNesting.hpp"
#include "TARVPropertyListText.hpp"
#include "tarv/archive/TARVUTF8.hpp"

#include "TARVKeyedArchiveKeys.hpp"

#include <plist/plist.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <unordered_set>
#include <utility>

namespace tarv {

namespace {

// Objects nest no deeper than this; a deeper archive is refused rather than risk the stack.
constexpr std::size_t kMaxDepth = 512;
// Keyed archives are flat property lists: their containers nest a few levels deep. The property
// list reader recurses once per level, so deeper lists are refused before it sees them.
constexpr std::size_t kMaxPropertyListNesting = 128;

std::string quoted(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

const char* typeName(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return "a boolean";
    case PLIST_UINT:
        return "an integer";
    case PLIST_REAL:
        return "a real";
    case PLIST_STRING:
        return "a text";
    case PLIST_ARRAY:
        return "a list";
    case PLIST_DICT:
        return "a dictionary";
    case PLIST_DATE:
        return "a date";
    case PLIST_DATA:
        return "data";
    case PLIST_KEY:
        return "a key";
    case PLIST_UID:
        return "an object reference";
    case PLIST_NONE:
        break;
    }
    return "an unknown value";
}

// A reference: a binary property list's UID, or its XML spelling {"CF$UID": n}.
std::optional<std::uint64_t> referenceOf(plist_t node) {
    if (node == nullptr) {
        return std::nullopt;
    }
    if (plist_get_node_type(node) == PLIST_UID) {
        std::uint64_t value = 0;
        plist_get_uid_val(node, &value);
        return value;
    }
    if (plist_get_node_type(node) == PLIST_DICT && plist_dict_get_size(node) == 1) {
        plist_t value = plist_dict_get_item(node, "CF$UID");
        if (value != nullptr && plist_get_node_type(value) == PLIST_UINT) {
            std::uint64_t reference = 0;
            plist_get_uint_val(value, &reference);
            return reference;
        }
    }
    return std::nullopt;
}

std::optional<std::string> textOf(plist_t node) {
    if (node == nullptr || plist_get_node_type(node) != PLIST_STRING) {
        return std::nullopt;
    }
    std::uint64_t length = 0;
    const char* text = plist_get_string_ptr(node, &length);
    if (text == nullptr) {
        return std::string();
    }
    return std::string(text, static_cast<std::size_t>(length));
}

// libplist answers the 64 bits of an integer alike for an 8-byte negative value and for a
// 16-byte unsigned one; comparing with a node parsed from the unsigned text tells them apart.
bool isLargeUnsigned(plist_t node, std::uint64_t value) {
    const std::string xml =
        "<plist version=\"1.0\"><integer>" + std::to_string(value) + "</integer></plist>";
    plist_t unsignedNode = nullptr;
    plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &unsignedNode);
    if (unsignedNode == nullptr) {
        return false;
    }
    const bool same = plist_compare_node_value(node, unsignedNode) != 0;
    plist_free(unsignedNode);
    return same;
}

std::optional<TARVArchiveNumber> numberOf(plist_t node) {
    if (node == nullptr) {
        return std::nullopt;
    }
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        plist_get_bool_val(node, &value);
        return TARVArchiveNumber(value != 0);
    }
    case PLIST_REAL: {
        double value = 0.0;
        plist_get_real_val(node, &value);
        return TARVArchiveNumber(value);
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        plist_get_uint_val(node, &value);
        if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) &&
            isLargeUnsigned(node, value)) {
            return TARVArchiveNumber(value);
        }
        return TARVArchiveNumber(static_cast<std::int64_t>(value));
    }
    default:
        break;
    }
    return std::nullopt;
}

// The class a text or number stored directly in "$objects" counts as.
const TARVArchiveClass* scalarClassOf(plist_t node) {
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return &TARVArchiveClasses::NSString;
    case PLIST_BOOLEAN:
    case PLIST_UINT:
    case PLIST_REAL:
        return &TARVArchiveClasses::NSNumber;
    default:
        break;
    }
    return nullptr;
}

constexpr const TARVArchiveClass* kTextClasses[] = {&TARVArchiveClasses::NSString,
                                                    &TARVArchiveClasses::NSMutableString};

} // namespace

struct TARVKeyedUnarchiver::Impl {
    struct Frame {
        plist_t dict;
        std::uint64_t reference;
        const TARVArchiveClass* cls;
    };

    Impl() = default;
    ~Impl() {
        if (root != nullptr) {
            plist_free(root);
        }
    }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    void fail(std::string message) {
        if (!error) {
            error = std::move(message);
        }
    }
    plist_t current() const { return stack.empty() ? top : stack.back().dict; }
    std::string where() const {
        if (stack.empty()) {
            return "the top level";
        }
        return "object " + std::to_string(stack.back().reference) + " (" +
               std::string(stack.back().cls->name) + ")";
    }
    // The object at `reference`, or null after recording why there is none.
    plist_t object(std::uint64_t reference, std::string_view expected) {
        if (reference == 0) {
            fail("Nil was found in " + where() + " where " + std::string(expected) +
                 " was expected.");
            return nullptr;
        }
        if (reference >= objects.size()) {
            fail("Reference " + std::to_string(reference) + " in " + where() +
                 " is out of range: the archive has " + std::to_string(objects.size()) +
                 " objects.");
            return nullptr;
        }
        return objects[reference];
    }
    bool allowed(const TARVArchiveClass& cls, std::uint64_t reference,
                 const TARVClassNameSet& classes) {
        if (!requiresSecureCoding) {
            return true;
        }
        if (!cls.supportsSecureCoding) {
            fail("Class " + std::string(cls.name) + " of object " + std::to_string(reference) +
                 " does not support secure coding.");
            return false;
        }
        if (!classes.allowsClass(cls)) {
            fail("Object " + std::to_string(reference) + " of class " + std::string(cls.name) +
                 " is not allowed in " + where() + "; allowed classes: " +
                 (classes.empty() ? std::string("none") : classes.description()) + ".");
            return false;
        }
        return true;
    }
    void open(std::span<const std::uint8_t> data);

    plist_t root = nullptr;
    plist_t top = nullptr;
    std::vector<plist_t> objects;
    std::vector<Frame> stack;
    std::unordered_set<std::uint64_t> inProgress;
    std::map<std::pair<std::uint64_t, std::type_index>, std::any> decoded;
    bool requiresSecureCoding = true;
    std::optional<std::string> error;
};

void TARVKeyedUnarchiver::Impl::open(std::span<const std::uint8_t> data) {
    if (data.empty()) {
        fail("The data is empty: it holds no keyed archive.");
        return;
    }
    if (data.size() > std::numeric_limits<std::uint32_t>::max()) {
        fail("The data is too large to be a keyed archive.");
        return;
    }
    std::string refusal;
    const auto readable = TARVReadablePropertyList(
        std::string_view(reinterpret_cast<const char*>(data.data()), data.size()),
        kMaxPropertyListNesting, refusal);
    if (!readable) {
        fail("The property list cannot be read: " + refusal + "; it is no keyed archive.");
        return;
    }
    const char* bytes = readable->data();
    const auto length = static_cast<std::uint32_t>(readable->size());
    const bool binary = plist_is_binary(bytes, length) != 0;
    if (binary) {
        plist_from_bin(bytes, length, &root);
    } else {
        plist_from_xml(bytes, length, &root);
    }
    if (root == nullptr) {
        fail(binary ? "The data is a damaged or truncated binary property list."
                    : "The data is neither a binary nor an XML property list.");
        return;
    }
    if (plist_get_node_type(root) != PLIST_DICT) {
        fail("The property list is not a keyed archive: its top level is " +
             std::string(typeName(root)) + ", not a dictionary.");
        return;
    }
    const auto archiver = textOf(plist_dict_get_item(root, "$archiver"));
    if (!archiver || *archiver != "NSKeyedArchiver") {
        fail("The property list is not a keyed archive: \"$archiver\" is not \"NSKeyedArchiver\".");
        return;
    }
    plist_t version = plist_dict_get_item(root, "$version");
    if (version == nullptr || plist_get_node_type(version) != PLIST_UINT) {
        fail("The keyed archive has no \"$version\" number.");
        return;
    }
    plist_t topNode = plist_dict_get_item(root, "$top");
    if (topNode == nullptr || plist_get_node_type(topNode) != PLIST_DICT) {
        fail("The keyed archive has no \"$top\" dictionary.");
        return;
    }
    plist_t objectList = plist_dict_get_item(root, "$objects");
    if (objectList == nullptr || plist_get_node_type(objectList) != PLIST_ARRAY) {
        fail("The keyed archive has no \"$objects\" list.");
        return;
    }
    objects.reserve(plist_array_get_size(objectList));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(objectList, &iterator);
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(objectList, iterator, &item);
        if (item == nullptr) {
            break;
        }
        objects.push_back(item);
    }
    std::free(iterator);
    top = topNode;
}

TARVKeyedUnarchiver::TARVKeyedUnarchiver(std::span<const std::uint8_t> data)
    : _impl(std::make_unique<Impl>()) {
    _impl->open(data);
}

TARVKeyedUnarchiver::~TARVKeyedUnarchiver() = default;
TARVKeyedUnarchiver::TARVKeyedUnarchiver(TARVKeyedUnarchiver&&) noexcept = default;
TARVKeyedUnarchiver& TARVKeyedUnarchiver::operator=(TARVKeyedUnarchiver&&) noexcept = default;

std::unique_ptr<TARVKeyedUnarchiver>
TARVKeyedUnarchiver::initForReadingFromData(std::span<const std::uint8_t> data,
                                            std::string* error) {
    auto unarchiver = std::make_unique<TARVKeyedUnarchiver>(data);
    if (unarchiver->error()) {
        if (error != nullptr) {
            *error = *unarchiver->error();
        }
        return nullptr;
    }
    return unarchiver;
}

bool TARVKeyedUnarchiver::requiresSecureCoding() const noexcept {
    return _impl->requiresSecureCoding;
}

void TARVKeyedUnarchiver::setRequiresSecureCoding(bool requiresSecureCoding) noexcept {
    _impl->requiresSecureCoding = requiresSecureCoding;
}

const std::optional<std::string>& TARVKeyedUnarchiver::error() const noexcept {
    return _impl->error;
}

void TARVKeyedUnarchiver::failWithError(std::string message) {
    _impl->fail(std::move(message));
}

const TARVArchiveClass* TARVKeyedUnarchiver::decodingClass() const noexcept {
    return _impl->stack.empty() ? nullptr : _impl->stack.back().cls;
}

bool TARVKeyedUnarchiver::containsValueForKey(std::string_view key) const {
    plist_t dict = _impl->current();
    return dict != nullptr &&
           plist_dict_get_item(dict, TARVEscapedArchiveKey(key).c_str()) != nullptr;
}

std::optional<TARVArchiveNumber> TARVKeyedUnarchiver::decodeNumber(std::string_view key) {
    if (_impl->error || _impl->current() == nullptr) {
        return std::nullopt;
    }
    plist_t node = plist_dict_get_item(_impl->current(), TARVEscapedArchiveKey(key).c_str());
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto number = numberOf(node)) {
        return number;
    }
    if (const auto reference = referenceOf(node)) {
        if (*reference == 0) {
            return std::nullopt;
        }
        return _decodeNumberAt(*reference, {TARVArchiveClasses::NSNumber.name});
    }
    _impl->fail("The value for key " + quoted(key) + " in " + _impl->where() + " is " +
                typeName(node) + ", not a number.");
    return std::nullopt;
}

bool TARVKeyedUnarchiver::decodeBool(std::string_view key) {
    const auto number = decodeNumber(key);
    return number && number->boolValue();
}

std::int32_t TARVKeyedUnarchiver::decodeInt32(std::string_view key) {
    const auto number = decodeNumber(key);
    return number ? number->intValue() : 0;
}

std::int64_t TARVKeyedUnarchiver::decodeInt64(std::string_view key) {
    const auto number = decodeNumber(key);
    return number ? number->longLongValue() : 0;
}

double TARVKeyedUnarchiver::decodeDouble(std::string_view key) {
    const auto number = decodeNumber(key);
    return number ? number->doubleValue() : 0.0;
}

std::optional<std::string> TARVKeyedUnarchiver::decodeString(std::string_view key) {
    return decodeObjectOfClass<std::string>(key);
}

std::optional<std::uint64_t> TARVKeyedUnarchiver::_referenceForKey(std::string_view key) {
    if (_impl->error || _impl->current() == nullptr) {
        return std::nullopt;
    }
    plist_t node = plist_dict_get_item(_impl->current(), TARVEscapedArchiveKey(key).c_str());
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const auto reference = referenceOf(node)) {
        return reference;
    }
    _impl->fail("The value for key " + quoted(key) + " in " + _impl->where() + " is " +
                typeName(node) + ", not an object reference.");
    return std::nullopt;
}

std::optional<std::vector<std::uint64_t>>
TARVKeyedUnarchiver::_referencesForKey(std::string_view key) {
    if (_impl->error || _impl->current() == nullptr) {
        return std::nullopt;
    }
    plist_t node = plist_dict_get_item(_impl->current(), TARVEscapedArchiveKey(key).c_str());
    if (node == nullptr) {
        _impl->fail(_impl->where() + " has no " + quoted(key) + " list.");
        return std::nullopt;
    }
    if (plist_get_node_type(node) != PLIST_ARRAY) {
        _impl->fail("The value for key " + quoted(key) + " in " + _impl->where() + " is " +
                    typeName(node) + ", not a list of object references.");
        return std::nullopt;
    }
    std::vector<std::uint64_t> references;
    references.reserve(plist_array_get_size(node));
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    bool valid = true;
    for (;;) {
        plist_t item = nullptr;
        plist_array_next_item(node, iterator, &item);
        if (item == nullptr) {
            break;
        }
        const auto reference = referenceOf(item);
        if (!reference) {
            _impl->fail("The list " + quoted(key) + " in " + _impl->where() + " holds " +
                        typeName(item) + " where an object reference was expected.");
            valid = false;
            break;
        }
        references.push_back(*reference);
    }
    std::free(iterator);
    if (!valid) {
        return std::nullopt;
    }
    return references;
}

const TARVArchiveClass*
TARVKeyedUnarchiver::_beginObject(std::uint64_t reference,
                                  std::span<const TARVArchiveClass* const> classes,
                                  const TARVClassNameSet& allowed) {
    if (_impl->error) {
        return nullptr;
    }
    const std::string expected = classes.empty()
                                     ? std::string("an object")
                                     : "an object of class " + std::string(classes.front()->name);
    plist_t node = _impl->object(reference, expected);
    if (node == nullptr) {
        return nullptr;
    }
    const std::string at = "Object " + std::to_string(reference);
    if (_impl->stack.size() >= kMaxDepth) {
        _impl->fail(at + " lies deeper than " + std::to_string(kMaxDepth) + " nested objects.");
        return nullptr;
    }
    if (_impl->inProgress.count(reference) != 0) {
        _impl->fail(at + " contains itself: a cycle of references cannot be decoded.");
        return nullptr;
    }
    if (plist_get_node_type(node) != PLIST_DICT) {
        _impl->fail(at + " is " + typeName(node) + " where " + expected + " was expected.");
        return nullptr;
    }
    const auto classReference = referenceOf(plist_dict_get_item(node, "$class"));
    if (!classReference) {
        _impl->fail(at + " has no \"$class\" reference.");
        return nullptr;
    }
    plist_t classNode = _impl->object(*classReference, "a class dictionary");
    if (classNode == nullptr) {
        return nullptr;
    }
    const auto className = plist_get_node_type(classNode) == PLIST_DICT
                               ? textOf(plist_dict_get_item(classNode, "$classname"))
                               : std::nullopt;
    if (!className) {
        _impl->fail("The class of object " + std::to_string(reference) + " (object " +
                    std::to_string(*classReference) + ") has no \"$classname\".");
        return nullptr;
    }
    std::vector<std::string> chain{*className};
    if (plist_t list = plist_dict_get_item(classNode, "$classes");
        list != nullptr && plist_get_node_type(list) == PLIST_ARRAY) {
        const std::uint32_t count = plist_array_get_size(list);
        for (std::uint32_t i = 0; i < count; ++i) {
            if (const auto name = textOf(plist_array_get_item(list, i))) {
                chain.push_back(*name);
            }
        }
    }
    if (_impl->requiresSecureCoding &&
        std::none_of(chain.begin(), chain.end(),
                     [&](const std::string& name) { return allowed.contains(name); })) {
        _impl->fail(at + " of class " + *className + " is not allowed in " + _impl->where() +
                    "; allowed classes: " +
                    (allowed.empty() ? std::string("none") : allowed.description()) + ".");
        return nullptr;
    }
    const TARVArchiveClass* resolved = nullptr;
    for (const std::string& name : chain) {
        for (const TARVArchiveClass* cls : classes) {
            if (cls->name == name) {
                resolved = cls;
                break;
            }
        }
        if (resolved != nullptr) {
            break;
        }
    }
    if (resolved == nullptr) {
        _impl->fail(at + " of class " + *className + " cannot be decoded as " + expected + ".");
        return nullptr;
    }
    if (!_impl->allowed(*resolved, reference, allowed)) {
        return nullptr;
    }
    _impl->stack.push_back({node, reference, resolved});
    _impl->inProgress.insert(reference);
    return resolved;
}

void TARVKeyedUnarchiver::_endObject() {
    if (_impl->stack.empty()) {
        return;
    }
    _impl->inProgress.erase(_impl->stack.back().reference);
    _impl->stack.pop_back();
}

std::optional<std::string> TARVKeyedUnarchiver::_decodeTextAt(std::uint64_t reference,
                                                              const TARVClassNameSet& allowed) {
    if (_impl->error) {
        return std::nullopt;
    }
    plist_t node = _impl->object(reference, "a text");
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const TARVArchiveClass* cls = scalarClassOf(node)) {
        if (!_impl->allowed(*cls, reference, allowed)) {
            return std::nullopt;
        }
        if (plist_get_node_type(node) == PLIST_STRING) {
            return checkedText(textOf(node), reference);
        }
    }
    if (plist_get_node_type(node) != PLIST_DICT) {
        _impl->fail("Object " + std::to_string(reference) + " is " + typeName(node) +
                    " where a text was expected.");
        return std::nullopt;
    }
    // A mutable text is an object of its own with its characters under "NS.string".
    if (_beginObject(reference, kTextClasses, allowed) == nullptr) {
        return std::nullopt;
    }
    auto text = textOf(plist_dict_get_item(_impl->current(), "NS.string"));
    _endObject();
    if (!text) {
        _impl->fail("Object " + std::to_string(reference) + " holds no \"NS.string\" text.");
    }
    return checkedText(std::move(text), reference);
}

std::optional<std::string> TARVKeyedUnarchiver::checkedText(std::optional<std::string> text,
                                                            std::uint64_t reference) {
    // The archiver writes only UTF-8 without NUL characters; a text that is not, from a damaged
    // or forged archive, would be cut or make output impossible later on.
    if (text && (!TARVIsValidUTF8(*text) || text->find('\0') != std::string::npos)) {
        _impl->fail("Object " + std::to_string(reference) +
                    " is a text that is not UTF-8 or holds a NUL character.");
        return std::nullopt;
    }
    return text;
}

std::optional<TARVArchiveNumber>
TARVKeyedUnarchiver::_decodeNumberAt(std::uint64_t reference, const TARVClassNameSet& allowed) {
    if (_impl->error) {
        return std::nullopt;
    }
    plist_t node = _impl->object(reference, "a number");
    if (node == nullptr) {
        return std::nullopt;
    }
    if (const TARVArchiveClass* cls = scalarClassOf(node);
        cls != nullptr && !_impl->allowed(*cls, reference, allowed)) {
        return std::nullopt;
    }
    auto number = numberOf(node);
    if (!number) {
        _impl->fail("Object " + std::to_string(reference) + " is " + typeName(node) +
                    " where a number was expected.");
    }
    return number;
}

void TARVKeyedUnarchiver::_failDecodingObject(std::uint64_t reference,
                                              const TARVArchiveClass& cls) {
    _impl->fail("Object " + std::to_string(reference) + " of class " + std::string(cls.name) +
                " could not be decoded.");
}

void TARVKeyedUnarchiver::_failMismatchedMap(std::uint64_t reference, std::size_t keys,
                                             std::size_t objects) {
    _impl->fail("Dictionary object " + std::to_string(reference) + " has " + std::to_string(keys) +
                " keys but " + std::to_string(objects) + " values.");
}

const std::any* TARVKeyedUnarchiver::_decodedObjectAt(std::uint64_t reference,
                                                      std::type_index type) const {
    if (_impl->error) {
        return nullptr;
    }
    const auto found = _impl->decoded.find({reference, type});
    return found == _impl->decoded.end() ? nullptr : &found->second;
}

void TARVKeyedUnarchiver::_rememberDecodedObjectAt(std::uint64_t reference, std::type_index type,
                                                   std::any value) {
    _impl->decoded.insert_or_assign({reference, type}, std::move(value));
}

} // namespace tarv
