#pragma once

#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVArchiveNumber.hpp"

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

// How values become objects of a keyed archive and back.
//
// Every archived value is described by a descriptor type D, and `TARVArchiveCoding<D>` says how
// to write and read it. D, what it is archived as, and the C++ value it reads back as:
//
// - a class T with `encodeWithCoder`: an object of its own class (see below); T, or
//   std::shared_ptr<T> for shared objects.
// - std::string: a text (NSString); std::string.
// - std::shared_ptr<const std::string>: a text; one shared text per archived text.
// - TARVArchiveNumber, bool, integer and floating-point types: a number (NSNumber); that type.
// - TARVArchiveList<E>: NSArray (NSMutableArray); std::vector of E's value.
// - TARVArchiveOrderedSet<E>: NSOrderedSet (NSMutableOrderedSet); std::vector of E's value.
// - TARVArchiveMap<E>: NSDictionary (NSMutableDictionary) with text keys;
//   std::map<std::string, E's value>.
//
// A class T takes part by offering
//
//     static const TARVArchiveClass& archiveClass();      the class it is named by
//     void encodeWithCoder(TARVKeyedArchiver&) const;
//     static std::optional<T> initWithCoder(TARVKeyedUnarchiver&);     a value type, or
//     static std::shared_ptr<T> initWithCoder(TARVKeyedUnarchiver&);   a shared object
//
// and optionally
//
//     const TARVArchiveClass& classForKeyedArchiver() const;
//         the class one object is written as, when a C++ type stands for several classes;
//     static std::span<const TARVArchiveClass* const> archiveClasses();
//         every class an archived T may be; initWithCoder finds the one it is reading in the
//         unarchiver's decodingClass().

namespace tarv {

class TARVKeyedArchiver;
class TARVKeyedUnarchiver;

/// The key under which the top-level helpers store the root object in "$top".
inline constexpr std::string_view TARVKeyedArchiveRootObjectKey = "root";

/// A list (NSArray, or NSMutableArray when `Mutable`) of elements described by `Element`.
template <typename Element, bool Mutable = false> struct TARVArchiveList {};
template <typename Element> using TARVArchiveMutableList = TARVArchiveList<Element, true>;
/// An ordered set (NSOrderedSet, or NSMutableOrderedSet when `Mutable`).
template <typename Element, bool Mutable = false> struct TARVArchiveOrderedSet {};
template <typename Element>
using TARVArchiveMutableOrderedSet = TARVArchiveOrderedSet<Element, true>;
/// A map from texts to values (NSDictionary, or NSMutableDictionary when `Mutable`).
template <typename Element, bool Mutable = false> struct TARVArchiveMap {};
template <typename Element> using TARVArchiveMutableMap = TARVArchiveMap<Element, true>;

/// A class that writes itself to keyed archives and reads itself back.
template <typename T>
concept TARVKeyedCodingClass = requires(const T& object, TARVKeyedArchiver& archiver,
                                        TARVKeyedUnarchiver& unarchiver) {
    { T::archiveClass() } -> std::same_as<const TARVArchiveClass&>;
    object.encodeWithCoder(archiver);
    T::initWithCoder(unarchiver);
};

template <typename D> struct TARVArchiveCoding;

namespace archive_detail {

template <typename R> struct CodingResult;
template <typename X> struct CodingResult<std::optional<X>> {
    using Value = X;
    static std::optional<Value> unwrap(std::optional<X>&& result) { return std::move(result); }
};
template <typename X> struct CodingResult<std::shared_ptr<X>> {
    using Value = std::shared_ptr<X>;
    static std::optional<Value> unwrap(std::shared_ptr<X>&& result) {
        if (!result) {
            return std::nullopt;
        }
        return std::optional<Value>(std::move(result));
    }
};

template <typename T> const TARVArchiveClass& classForKeyedArchiver(const T& object) {
    if constexpr (requires { object.classForKeyedArchiver(); }) {
        return object.classForKeyedArchiver();
    } else {
        return T::archiveClass();
    }
}

template <typename T> std::span<const TARVArchiveClass* const> decodableClasses() {
    if constexpr (requires { T::archiveClasses(); }) {
        return T::archiveClasses();
    } else {
        static const TARVArchiveClass* const classes[] = {&T::archiveClass()};
        return classes;
    }
}

/// Ends the object an unarchiver or archiver is inside when the scope is left.
template <typename Coder> class ObjectScope {
public:
    explicit ObjectScope(Coder& coder) noexcept : _coder(coder) {}
    ~ObjectScope() { _coder._endObject(); }
    ObjectScope(const ObjectScope&) = delete;
    ObjectScope& operator=(const ObjectScope&) = delete;

private:
    Coder& _coder;
};

template <typename Value, typename Unarchiver>
std::optional<Value> cached(Unarchiver& unarchiver, std::uint64_t reference) {
    if (const Value* value = unarchiver.template _decodedObject<Value>(reference)) {
        return *value;
    }
    return std::nullopt;
}

inline constexpr const TARVArchiveClass* kListClasses[] = {&TARVArchiveClasses::NSArray,
                                                           &TARVArchiveClasses::NSMutableArray};
inline constexpr const TARVArchiveClass* kOrderedSetClasses[] = {
    &TARVArchiveClasses::NSOrderedSet, &TARVArchiveClasses::NSMutableOrderedSet};
inline constexpr const TARVArchiveClass* kMapClasses[] = {&TARVArchiveClasses::NSDictionary,
                                                          &TARVArchiveClasses::NSMutableDictionary};

/// Lists and ordered sets share their form: "NS.objects", a list of references.
template <typename Element, typename Unarchiver>
std::optional<std::vector<typename TARVArchiveCoding<Element>::Value>>
decodeSequence(Unarchiver& unarchiver, std::uint64_t reference, const TARVClassNameSet& allowed,
               std::span<const TARVArchiveClass* const> classes) {
    using ElementValue = typename TARVArchiveCoding<Element>::Value;
    using Value = std::vector<ElementValue>;
    if (auto value = cached<Value>(unarchiver, reference)) {
        return value;
    }
    if (!unarchiver._beginObject(reference, classes, allowed)) {
        return std::nullopt;
    }
    Value result;
    {
        ObjectScope<Unarchiver> scope(unarchiver);
        const auto references = unarchiver._referencesForKey("NS.objects");
        if (!references) {
            return std::nullopt;
        }
        result.reserve(references->size());
        for (const std::uint64_t element : *references) {
            auto value = TARVArchiveCoding<Element>::decode(unarchiver, element, allowed);
            if (!value) {
                return std::nullopt;
            }
            result.push_back(std::move(*value));
        }
    }
    unarchiver.template _rememberDecodedObject<Value>(reference, result);
    return result;
}

template <typename Element, typename Archiver, typename R>
std::uint64_t encodeSequence(Archiver& archiver, const R& range, const TARVArchiveClass& cls) {
    const std::uint64_t reference = archiver._beginObject(cls);
    ObjectScope<Archiver> scope(archiver);
    std::vector<std::uint64_t> references;
    for (const auto& element : range) {
        references.push_back(TARVArchiveCoding<Element>::encode(archiver, element));
    }
    archiver._encodeReferences(references, "NS.objects");
    return reference;
}

} // namespace archive_detail

/// Objects of classes that archive themselves.
template <TARVKeyedCodingClass T> struct TARVArchiveCoding<T> {
    using Result = decltype(T::initWithCoder(std::declval<TARVKeyedUnarchiver&>()));
    using Value = typename archive_detail::CodingResult<Result>::Value;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(T::archiveClass().name);
    }

    template <typename Archiver, typename X>
    requires std::derived_from<X, T> || std::derived_from<T, X>
    static std::uint64_t encode(Archiver& archiver, const X& object) {
        const std::uint64_t reference =
            archiver._beginObject(archive_detail::classForKeyedArchiver(object));
        archive_detail::ObjectScope<Archiver> scope(archiver);
        object.encodeWithCoder(archiver);
        return reference;
    }

    /// A shared object referenced twice is written once; no object is written as nil.
    template <typename Archiver, typename X>
    static std::uint64_t encode(Archiver& archiver, const std::shared_ptr<X>& object) {
        if (!object) {
            return 0;
        }
        if (const auto known = archiver._referenceForSharedObject(object.get())) {
            return *known;
        }
        const std::uint64_t reference =
            archiver._beginObject(archive_detail::classForKeyedArchiver(*object));
        archiver._rememberSharedObject(std::shared_ptr<const void>(object), reference);
        archive_detail::ObjectScope<Archiver> scope(archiver);
        object->encodeWithCoder(archiver);
        return reference;
    }

    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        if (auto value = archive_detail::cached<Value>(unarchiver, reference)) {
            return value;
        }
        const TARVArchiveClass* cls =
            unarchiver._beginObject(reference, archive_detail::decodableClasses<T>(), allowed);
        if (!cls) {
            return std::nullopt;
        }
        std::optional<Value> value;
        {
            archive_detail::ObjectScope<Unarchiver> scope(unarchiver);
            value = archive_detail::CodingResult<Result>::unwrap(T::initWithCoder(unarchiver));
        }
        if (!value || unarchiver.error()) {
            unarchiver._failDecodingObject(reference, *cls);
            return std::nullopt;
        }
        unarchiver.template _rememberDecodedObject<Value>(reference, *value);
        return value;
    }
};

/// Texts.
template <> struct TARVArchiveCoding<std::string> {
    using Value = std::string;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSString.name);
    }
    template <typename Archiver>
    static std::uint64_t encode(Archiver& archiver, std::string_view text) {
        return archiver._encodeText(text);
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        return unarchiver._decodeTextAt(reference, allowed);
    }
};

/// Shared texts: a text referenced twice in one archive reads back as one shared object.
template <> struct TARVArchiveCoding<std::shared_ptr<const std::string>> {
    using Value = std::shared_ptr<const std::string>;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSString.name);
    }
    template <typename Archiver>
    static std::uint64_t encode(Archiver& archiver,
                                const std::shared_ptr<const std::string>& text) {
        return text ? archiver._encodeText(*text) : 0;
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        if (auto value = archive_detail::cached<Value>(unarchiver, reference)) {
            return value;
        }
        auto text = unarchiver._decodeTextAt(reference, allowed);
        if (!text) {
            return std::nullopt;
        }
        Value value = std::make_shared<const std::string>(std::move(*text));
        unarchiver.template _rememberDecodedObject<Value>(reference, value);
        return value;
    }
};

/// Numbers, as `TARVArchiveNumber` or read at a given width.
template <typename N>
requires std::same_as<N, TARVArchiveNumber> || std::is_arithmetic_v<N>
struct TARVArchiveCoding<N> {
    using Value = N;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSNumber.name);
    }
    template <typename Archiver>
    static std::uint64_t encode(Archiver& archiver, const TARVArchiveNumber& number) {
        return archiver._encodeNumber(number);
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        const auto number = unarchiver._decodeNumberAt(reference, allowed);
        if (!number) {
            return std::nullopt;
        }
        if constexpr (std::same_as<N, TARVArchiveNumber>) {
            return *number;
        } else {
            return number->template value<N>();
        }
    }
};

template <typename Element, bool Mutable>
struct TARVArchiveCoding<TARVArchiveList<Element, Mutable>> {
    using Value = std::vector<typename TARVArchiveCoding<Element>::Value>;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSArray.name);
        TARVArchiveCoding<Element>::addAllowedClasses(classes);
    }
    template <typename Archiver, std::ranges::input_range R>
    static std::uint64_t encode(Archiver& archiver, const R& range) {
        return archive_detail::encodeSequence<Element>(archiver, range,
                                                       Mutable ? TARVArchiveClasses::NSMutableArray
                                                               : TARVArchiveClasses::NSArray);
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        return archive_detail::decodeSequence<Element>(unarchiver, reference, allowed,
                                                       archive_detail::kListClasses);
    }
};

/// Ordered sets read back as lists in archive order; keeping them unique is the reader's part.
template <typename Element, bool Mutable>
struct TARVArchiveCoding<TARVArchiveOrderedSet<Element, Mutable>> {
    using Value = std::vector<typename TARVArchiveCoding<Element>::Value>;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSOrderedSet.name);
        TARVArchiveCoding<Element>::addAllowedClasses(classes);
    }
    template <typename Archiver, std::ranges::input_range R>
    static std::uint64_t encode(Archiver& archiver, const R& range) {
        return archive_detail::encodeSequence<Element>(
            archiver, range,
            Mutable ? TARVArchiveClasses::NSMutableOrderedSet : TARVArchiveClasses::NSOrderedSet);
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        return archive_detail::decodeSequence<Element>(unarchiver, reference, allowed,
                                                       archive_detail::kOrderedSetClasses);
    }
};

/// Maps with text keys: "NS.keys" and "NS.objects", two lists of references of equal length.
template <typename Element, bool Mutable>
struct TARVArchiveCoding<TARVArchiveMap<Element, Mutable>> {
    using Value = std::map<std::string, typename TARVArchiveCoding<Element>::Value>;

    static void addAllowedClasses(TARVClassNameSet& classes) {
        classes.insert(TARVArchiveClasses::NSDictionary.name);
        classes.insert(TARVArchiveClasses::NSString.name);
        TARVArchiveCoding<Element>::addAllowedClasses(classes);
    }
    /// Any range of (text, value) pairs.
    template <typename Archiver, std::ranges::input_range R>
    static std::uint64_t encode(Archiver& archiver, const R& map) {
        const std::uint64_t reference = archiver._beginObject(
            Mutable ? TARVArchiveClasses::NSMutableDictionary : TARVArchiveClasses::NSDictionary);
        archive_detail::ObjectScope<Archiver> scope(archiver);
        std::vector<std::uint64_t> keys;
        std::vector<std::uint64_t> objects;
        for (const auto& [key, object] : map) {
            keys.push_back(archiver._encodeText(std::string_view(key)));
            objects.push_back(TARVArchiveCoding<Element>::encode(archiver, object));
        }
        archiver._encodeReferences(keys, "NS.keys");
        archiver._encodeReferences(objects, "NS.objects");
        return reference;
    }
    template <typename Unarchiver>
    static std::optional<Value> decode(Unarchiver& unarchiver, std::uint64_t reference,
                                       const TARVClassNameSet& allowed) {
        if (auto value = archive_detail::cached<Value>(unarchiver, reference)) {
            return value;
        }
        if (!unarchiver._beginObject(reference, archive_detail::kMapClasses, allowed)) {
            return std::nullopt;
        }
        Value result;
        {
            archive_detail::ObjectScope<Unarchiver> scope(unarchiver);
            const auto keys = unarchiver._referencesForKey("NS.keys");
            const auto objects = unarchiver._referencesForKey("NS.objects");
            if (!keys || !objects) {
                return std::nullopt;
            }
            if (keys->size() != objects->size()) {
                unarchiver._failMismatchedMap(reference, keys->size(), objects->size());
                return std::nullopt;
            }
            for (std::size_t i = 0; i < keys->size(); ++i) {
                auto key = unarchiver._decodeTextAt((*keys)[i], allowed);
                if (!key) {
                    return std::nullopt;
                }
                auto object =
                    TARVArchiveCoding<Element>::decode(unarchiver, (*objects)[i], allowed);
                if (!object) {
                    return std::nullopt;
                }
                result.insert_or_assign(std::move(*key), std::move(*object));
            }
        }
        unarchiver.template _rememberDecodedObject<Value>(reference, result);
        return result;
    }
};

/// The descriptor a C++ value is archived by when none is named: a class for its objects and
/// shared pointers to them, texts, numbers, a list for a vector, a map for a map with text keys.
template <typename V> struct TARVArchiveDefaultDescriptor { using type = V; };
template <> struct TARVArchiveDefaultDescriptor<std::string_view> { using type = std::string; };
template <> struct TARVArchiveDefaultDescriptor<const char*> { using type = std::string; };
template <std::size_t N> struct TARVArchiveDefaultDescriptor<char[N]> { using type = std::string; };
template <typename X> struct TARVArchiveDefaultDescriptor<std::shared_ptr<X>> {
    using type = std::remove_const_t<X>;
};
template <> struct TARVArchiveDefaultDescriptor<std::shared_ptr<const std::string>> {
    using type = std::shared_ptr<const std::string>;
};
template <typename X, typename A> struct TARVArchiveDefaultDescriptor<std::vector<X, A>> {
    using type = TARVArchiveList<typename TARVArchiveDefaultDescriptor<X>::type>;
};
template <typename X, typename C, typename A>
struct TARVArchiveDefaultDescriptor<std::map<std::string, X, C, A>> {
    using type = TARVArchiveMap<typename TARVArchiveDefaultDescriptor<X>::type>;
};
template <typename X, typename H, typename E, typename A>
struct TARVArchiveDefaultDescriptor<std::unordered_map<std::string, X, H, E, A>> {
    using type = TARVArchiveMap<typename TARVArchiveDefaultDescriptor<X>::type>;
};

template <typename V>
using TARVArchiveDescriptorOf = typename TARVArchiveDefaultDescriptor<std::remove_cvref_t<V>>::type;

/// What a decode of D answers: the shared pointer itself for shared objects (null when
/// absent), otherwise an optional value.
template <typename V> struct TARVDecodedResult {
    using type = std::optional<V>;
    static type from(std::optional<V>&& value) { return std::move(value); }
};
template <typename X> struct TARVDecodedResult<std::shared_ptr<X>> {
    using type = std::shared_ptr<X>;
    static type from(std::optional<std::shared_ptr<X>>&& value) {
        return value ? std::move(*value) : nullptr;
    }
};

template <typename D> using TARVDecodedValue = typename TARVArchiveCoding<D>::Value;
template <typename D> using TARVDecoded = typename TARVDecodedResult<TARVDecodedValue<D>>::type;

/// The classes a decode of D allows when none are named: the classes of D and of everything in
/// it.
template <typename D> TARVClassNameSet TARVAllowedClassesFor() {
    TARVClassNameSet classes;
    TARVArchiveCoding<D>::addAllowedClasses(classes);
    return classes;
}

} // namespace tarv
