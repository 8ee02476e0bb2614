#pragma once

#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVArchiveCoding.hpp"
#include "tarv/archive/TARVArchiveNumber.hpp"

#include <any>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <typeindex>
#include <vector>

namespace tarv {

/// Reads keyed archives written by `TARVKeyedArchiver` or by Foundation's keyed archiver, from
/// binary or XML property lists.
///
/// Classes are resolved by name: the archived "$classname" first, then the names of its
/// "$classes" chain, against the classes the requested type can be made as. With
/// `requiresSecureCoding` (the default) every object must also be of an allowed class (or a
/// subclass of one) and its class must support secure coding; texts count as NSString and
/// numbers as NSNumber. An object is checked when it is first decoded: the unarchiver keeps what
/// it decoded by reference, so reading the same reference again as the same type answers the
/// kept object (a shared object referenced twice reads back as one object).
///
/// Nothing here throws on bad input. A property list that is not a keyed archive, a refused
/// class, a value of the wrong type, a missing object, a reference out of range, a cycle of
/// references, an object whose class reads nothing back: each makes the decode answer nothing
/// and leaves the first such failure in `error()`. After a failure every further decode answers
/// nothing, so one failure anywhere fails the whole archive.
class TARVKeyedUnarchiver {
public:
    /// Opens `data`; if it is no keyed archive, `error()` says why and decodes answer nothing.
    explicit TARVKeyedUnarchiver(std::span<const std::uint8_t> data);
    ~TARVKeyedUnarchiver();
    TARVKeyedUnarchiver(TARVKeyedUnarchiver&&) noexcept;
    TARVKeyedUnarchiver& operator=(TARVKeyedUnarchiver&&) noexcept;
    TARVKeyedUnarchiver(const TARVKeyedUnarchiver&) = delete;
    TARVKeyedUnarchiver& operator=(const TARVKeyedUnarchiver&) = delete;

    /// An unarchiver for `data`, or null (with `*error` set when given) when `data` is no keyed
    /// archive.
    static std::unique_ptr<TARVKeyedUnarchiver>
    initForReadingFromData(std::span<const std::uint8_t> data, std::string* error = nullptr);

    bool requiresSecureCoding() const noexcept;
    void setRequiresSecureCoding(bool requiresSecureCoding) noexcept;

    /// The first failure, if any.
    const std::optional<std::string>& error() const noexcept;
    /// Records a failure (the first one is kept); `initWithCoder` calls it to refuse an object.
    void failWithError(std::string message);

    /// The class of the object being decoded, as resolved from the archive; null at the top
    /// level.
    const TARVArchiveClass* decodingClass() const noexcept;

    // Keyed values --------------------------------------------------------------------------

    bool containsValueForKey(std::string_view key) const;

    /// A number stored directly or as a number object (integer, real or boolean); nothing when
    /// the key is absent or nil. Any other value is a failure.
    std::optional<TARVArchiveNumber> decodeNumber(std::string_view key);
    /// `decodeNumber` at a width; 0 (false) when absent.
    bool decodeBool(std::string_view key);
    std::int32_t decodeInt32(std::string_view key);
    std::int64_t decodeInt64(std::string_view key);
    double decodeDouble(std::string_view key);
    /// A text object; nothing when absent or nil.
    std::optional<std::string> decodeString(std::string_view key);

    /// The value under `key` described by D, allowing the classes of D and of its contents.
    /// Nothing (a null pointer for shared objects) when the key is absent, nil, or on failure.
    template <typename D> TARVDecoded<D> decodeObjectOfClass(std::string_view key) {
        return decodeObjectOfClasses<D>(TARVAllowedClassesFor<D>(), key);
    }
    /// The same, allowing exactly `classes` for the value and everything in it.
    template <typename D>
    TARVDecoded<D> decodeObjectOfClasses(const TARVClassNameSet& classes, std::string_view key) {
        using Value = TARVDecodedValue<D>;
        std::optional<Value> value;
        if (const auto reference = _referenceForKey(key); reference && *reference != 0) {
            value = TARVArchiveCoding<D>::decode(*this, *reference, classes);
        }
        return TARVDecodedResult<Value>::from(std::move(value));
    }
    /// A list whose elements are described by D.
    template <typename D>
    std::optional<std::vector<TARVDecodedValue<D>>>
    decodeArrayOfObjectsOfClass(std::string_view key) {
        return decodeObjectOfClass<TARVArchiveList<D>>(key);
    }
    /// A list whose elements may be of `classes` (NSArray is added).
    template <typename D>
    std::optional<std::vector<TARVDecodedValue<D>>>
    decodeArrayOfObjectsOfClasses(const TARVClassNameSet& classes, std::string_view key) {
        TARVClassNameSet allowed = classes;
        allowed.insert(TARVArchiveClasses::NSArray.name);
        return decodeObjectOfClasses<TARVArchiveList<D>>(allowed, key);
    }

    // Top level -----------------------------------------------------------------------------

    /// The root object of the archive in `data` (secure decoding). Nothing, with `*error` set
    /// when given, when the archive cannot be read, has no root object, or fails to decode.
    template <typename D>
    static TARVDecoded<D> unarchivedObjectOfClass(std::span<const std::uint8_t> data,
                                                  std::string* error = nullptr) {
        return unarchivedObjectOfClasses<D>(TARVAllowedClassesFor<D>(), data, error);
    }
    template <typename D>
    static TARVDecoded<D> unarchivedObjectOfClasses(const TARVClassNameSet& classes,
                                                    std::span<const std::uint8_t> data,
                                                    std::string* error = nullptr) {
        TARVKeyedUnarchiver unarchiver(data);
        auto result = unarchiver.decodeObjectOfClasses<D>(classes, TARVKeyedArchiveRootObjectKey);
        if (!unarchiver.error() && !result &&
            !unarchiver.containsValueForKey(TARVKeyedArchiveRootObjectKey)) {
            unarchiver.failWithError("The archive has no root object.");
        }
        if (unarchiver.error()) {
            if (error) {
                *error = *unarchiver.error();
            }
            return TARVDecodedResult<TARVDecodedValue<D>>::from(std::nullopt);
        }
        return result;
    }
    template <typename D>
    static std::optional<std::vector<TARVDecodedValue<D>>>
    unarchivedArrayOfObjectsOfClass(std::span<const std::uint8_t> data,
                                    std::string* error = nullptr) {
        return unarchivedObjectOfClass<TARVArchiveList<D>>(data, error);
    }

    // For TARVArchiveCoding -----------------------------------------------------------------

    /// The reference under `key`: nothing when absent, 0 for nil; a failure when the value is
    /// not a reference.
    std::optional<std::uint64_t> _referenceForKey(std::string_view key);
    /// The list of references under `key` of the current object; a failure when it is missing
    /// or not such a list.
    std::optional<std::vector<std::uint64_t>> _referencesForKey(std::string_view key);
    /// Enters the object at `reference` when its class resolves to one of `classes` and passes
    /// the secure check against `allowed`; answers the resolved class, or null after recording
    /// a failure. Every successful call is paired with `_endObject()`.
    const TARVArchiveClass* _beginObject(std::uint64_t reference,
                                         std::span<const TARVArchiveClass* const> classes,
                                         const TARVClassNameSet& allowed);
    void _endObject();
    std::optional<std::string> _decodeTextAt(std::uint64_t reference,
                                             const TARVClassNameSet& allowed);
    std::optional<TARVArchiveNumber> _decodeNumberAt(std::uint64_t reference,
                                                     const TARVClassNameSet& allowed);
    void _failDecodingObject(std::uint64_t reference, const TARVArchiveClass& cls);
    void _failMismatchedMap(std::uint64_t reference, std::size_t keys, std::size_t objects);

    template <typename Value> const Value* _decodedObject(std::uint64_t reference) const {
        return std::any_cast<Value>(_decodedObjectAt(reference, typeid(Value)));
    }
    template <typename Value> void _rememberDecodedObject(std::uint64_t reference, Value value) {
        _rememberDecodedObjectAt(reference, typeid(Value), std::any(std::move(value)));
    }

private:
    std::optional<std::string> checkedText(std::optional<std::string> text,
                                           std::uint64_t reference);
    const std::any* _decodedObjectAt(std::uint64_t reference, std::type_index type) const;
    void _rememberDecodedObjectAt(std::uint64_t reference, std::type_index type, std::any value);

    struct Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace tarv
