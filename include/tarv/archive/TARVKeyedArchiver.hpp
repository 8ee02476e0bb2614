#pragma once

#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVArchiveCoding.hpp"
#include "tarv/archive/TARVArchiveNumber.hpp"

#include <cstdint>
#include <memory>
#include <optional>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

/// The property list form an archive is written in.
enum class TARVPropertyListFormat : std::uint8_t { Binary, XML };

/// Writes objects to a keyed archive in the layout of Foundation's keyed archiver, so that any
/// property list reader opens it and archives written on Apple platforms read the same way:
///
///     { "$archiver": "NSKeyedArchiver", "$version": 100000,
///       "$top": { "root": UID 1 },
///       "$objects": [ "$null", { "$class": UID 2, "key": ... }, { "$classname": "TARVChordShape",
///                     "$classes": ["TARVChordShape", "NSObject"] }, ... ] }
///
/// Each object is a dictionary of its keyed values with "$class" referring to its class
/// dictionary, which is written once per class. Texts and numbers are written in "$objects" once
/// per distinct value; a shared object referenced twice is written once. Keys starting with "$"
/// are written with one more "$" in front.
///
/// Between `encodeWithCoder` calls the archiver writes into "$top"; inside one, into the object
/// being written. An archiver is used by one thread and once: `encodedData()` finishes it.
class TARVKeyedArchiver {
public:
    explicit TARVKeyedArchiver(bool requiresSecureCoding = true);
    ~TARVKeyedArchiver();
    TARVKeyedArchiver(TARVKeyedArchiver&&) noexcept;
    TARVKeyedArchiver& operator=(TARVKeyedArchiver&&) noexcept;
    TARVKeyedArchiver(const TARVKeyedArchiver&) = delete;
    TARVKeyedArchiver& operator=(const TARVKeyedArchiver&) = delete;

    /// When set, writing an object of a class that does not support secure coding fails.
    bool requiresSecureCoding() const noexcept;
    TARVPropertyListFormat outputFormat() const noexcept;
    void setOutputFormat(TARVPropertyListFormat format) noexcept;

    /// Finishes the archive and answers its bytes; empty when writing failed (see `error()`).
    /// Later calls answer the same bytes; nothing can be added any more.
    const std::vector<std::uint8_t>& encodedData();
    /// The first failure, if any.
    const std::optional<std::string>& error() const noexcept;

    // Keyed values --------------------------------------------------------------------------

    /// Values stored directly in the object's dictionary.
    void encodeBool(bool value, std::string_view key);
    void encodeInt32(std::int32_t value, std::string_view key);
    void encodeInt64(std::int64_t value, std::string_view key);
    void encodeDouble(double value, std::string_view key);

    /// A number object, referenced from the object's dictionary. Unsigned values above the
    /// signed 64-bit range are written as 16-byte integers, as Foundation writes them.
    void encodeNumber(const TARVArchiveNumber& number, std::string_view key);
    /// A text object.
    void encodeString(std::string_view text, std::string_view key);

    /// Any value `TARVArchiveCoding` knows, archived by its default descriptor: an object of an
    /// archivable class (a null shared pointer writes nil), a text, a number, a vector as a
    /// list, a map with text keys as a map.
    template <typename V> void encodeObject(const V& value, std::string_view key) {
        encodeObjectAs<TARVArchiveDescriptorOf<V>>(value, key);
    }
    /// `value` archived as the descriptor D names, e.g.
    /// `encodeObjectAs<TARVArchiveMap<TARVArchiveOrderedSet<TARVChordShape>>>(map, "cache")`.
    template <typename D, typename V> void encodeObjectAs(const V& value, std::string_view key) {
        _encodeReference(TARVArchiveCoding<D>::encode(*this, value), key);
    }
    /// The elements of `range` as a list.
    template <std::ranges::input_range R> void encodeArray(const R& range, std::string_view key) {
        encodeObjectAs<TARVArchiveList<TARVArchiveDescriptorOf<std::ranges::range_value_t<R>>>>(
            range, key);
    }
    /// The elements of `range` as an ordered set.
    template <std::ranges::input_range R>
    void encodeOrderedSet(const R& range, std::string_view key) {
        encodeObjectAs<
            TARVArchiveOrderedSet<TARVArchiveDescriptorOf<std::ranges::range_value_t<R>>>>(range,
                                                                                           key);
    }

    // Top level -----------------------------------------------------------------------------

    /// An archive whose root object is `root`, archived by its default descriptor. Empty, with
    /// `*error` set when given, when writing fails.
    template <typename V>
    static std::vector<std::uint8_t> archivedDataWithRootObject(const V& root,
                                                                bool requiringSecureCoding = true,
                                                                std::string* error = nullptr) {
        return archivedDataWithRootObjectAs<TARVArchiveDescriptorOf<V>>(root, requiringSecureCoding,
                                                                        error);
    }
    template <typename D, typename V>
    static std::vector<std::uint8_t> archivedDataWithRootObjectAs(const V& root,
                                                                  bool requiringSecureCoding = true,
                                                                  std::string* error = nullptr) {
        TARVKeyedArchiver archiver(requiringSecureCoding);
        archiver.encodeObjectAs<D>(root, TARVKeyedArchiveRootObjectKey);
        std::vector<std::uint8_t> data = archiver.encodedData();
        if (error && archiver.error()) {
            *error = *archiver.error();
        }
        return data;
    }

    // For TARVArchiveCoding -----------------------------------------------------------------

    /// Starts a new object of class `cls` in "$objects" and answers its reference; keyed values
    /// go into it until `_endObject()`.
    std::uint64_t _beginObject(const TARVArchiveClass& cls);
    void _endObject();
    /// The reference of a text or a number object, written on first use.
    std::uint64_t _encodeText(std::string_view text);
    std::uint64_t _encodeNumber(const TARVArchiveNumber& number);
    std::optional<std::uint64_t> _referenceForSharedObject(const void* object) const;
    void _rememberSharedObject(std::shared_ptr<const void> object, std::uint64_t reference);
    /// A reference under `key` (0 is nil).
    void _encodeReference(std::uint64_t reference, std::string_view key);
    /// A list of references under `key`.
    void _encodeReferences(std::span<const std::uint64_t> references, std::string_view key);

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

} // namespace tarv
