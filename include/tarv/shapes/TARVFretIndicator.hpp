#pragma once

#include "tarv/music/TARVHasher.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

namespace tarv {

struct TARVArchiveClass;
class TARVKeyedArchiver;
class TARVKeyedUnarchiver;

/// The class of an indicator. `TARVFretIndicator` is the base of the other three.
enum class TARVIndicatorClass : std::uint8_t {
    Fret,  ///< `TARVFretIndicator`: a finger on one string
    Barre, ///< `TARVBarreIndicator`: one finger across a run of strings
    Muted, ///< `TARVMutedFretIndicator`: a string that is not played
    Open,  ///< `TARVOpenFretIndicator`: a string that sounds open
};

/// One mark of a chord diagram: a finger on string `string` at fret `fret` (relative to the
/// shape's base fret; negative means muted).
///
/// Indicators are 4-byte values. The subclasses `TARVBarreIndicator`, `TARVMutedFretIndicator`
/// and `TARVOpenFretIndicator` add constructors only; the class an indicator was made as is kept
/// in `indicatorClass()`, so a list of `TARVFretIndicator` values holds every kind without
/// losing it, and the class tests answer as for objects of those classes.
class TARVFretIndicator {
public:
    /// Plain default construction: fret 0 on string 0.
    constexpr TARVFretIndicator() noexcept = default;
    /// `initAtFret:onString:`.
    constexpr TARVFretIndicator(std::int8_t fret, std::uint8_t string) noexcept
        : _fret(fret), _string(string) {}

    static constexpr TARVFretIndicator indicatorAtFret(std::int8_t fret,
                                                       std::uint8_t string) noexcept {
        return {fret, string};
    }

    constexpr std::int8_t fret() const noexcept { return _fret; }
    constexpr void setFret(std::int8_t fret) noexcept { _fret = fret; }
    constexpr std::uint8_t string() const noexcept { return _string; }
    constexpr void setString(std::uint8_t string) noexcept { _string = string; }
    /// The last string of a barre (0 for the other classes, which have no such field).
    constexpr std::uint8_t endString() const noexcept { return _endString; }

    constexpr TARVIndicatorClass indicatorClass() const noexcept { return _class; }
    /// Kind-of test: true when this indicator's class is `cls` or a subclass of it.
    constexpr bool isKindOfClass(TARVIndicatorClass cls) const noexcept {
        return cls == TARVIndicatorClass::Fret || cls == _class;
    }
    /// Member-of test: true only for exactly that class.
    constexpr bool isMemberOfClass(TARVIndicatorClass cls) const noexcept { return cls == _class; }
    constexpr bool isBarre() const noexcept { return _class == TARVIndicatorClass::Barre; }
    constexpr bool isMuted() const noexcept { return _class == TARVIndicatorClass::Muted; }
    constexpr bool isOpen() const noexcept { return _class == TARVIndicatorClass::Open; }

    /// Fret and string equal; a barre receiver also compares `endString`. No class test.
    constexpr bool isEqualToFretIndicator(const TARVFretIndicator& other) const noexcept {
        return _fret == other._fret && _string == other._string &&
               (!isBarre() || _endString == other._endString);
    }
    /// One-sided: `other` must be of this indicator's class or a subclass of it.
    constexpr bool isEqual(const TARVFretIndicator& other) const noexcept {
        return other.isKindOfClass(_class) && isEqualToFretIndicator(other);
    }
    /// Fret (sign-extended to 32 bits, so -1 is 0xFFFFFFFF), string and, for a barre, end string
    /// fed to the hash accumulator; the low 32 bits of the result.
    constexpr std::uint64_t hash() const noexcept {
        TARVHasher hasher = TARVHasherCreate();
        TARVHasherAddUnsignedInt(&hasher,
                                 static_cast<std::uint32_t>(static_cast<std::int32_t>(_fret)));
        TARVHasherAddUnsignedInt(&hasher, _string);
        if (isBarre()) {
            TARVHasherAddUnsignedInt(&hasher, _endString);
        }
        return TARVHasherGetResult(&hasher) & 0xFFFFFFFFULL;
    }
    /// Smaller string first, then smaller (signed) fret; -1, 0 or +1.
    constexpr std::int64_t compare(const TARVFretIndicator& other) const noexcept {
        if (_string != other._string) {
            return _string < other._string ? -1 : 1;
        }
        if (_fret != other._fret) {
            return _fret < other._fret ? -1 : 1;
        }
        return 0;
    }
    std::string description() const;

    /// Exact identity of value and class, for containers keyed by indicator lists.
    constexpr bool isIdenticalTo(const TARVFretIndicator& other) const noexcept {
        return _fret == other._fret && _string == other._string && _endString == other._endString &&
               _class == other._class;
    }

    static constexpr bool supportsSecureCoding() noexcept { return true; }

    // Keyed archive
    /// "TARVFretIndicator", a subclass of NSObject.
    static const TARVArchiveClass& archiveClass() noexcept;
    /// The four indicator classes: an archived indicator may be of any of them.
    static std::span<const TARVArchiveClass* const> archiveClasses() noexcept;
    /// The archive class of this indicator's own class, so that open, muted and barre
    /// indicators read back as their classes.
    const TARVArchiveClass& classForKeyedArchiver() const noexcept;
    /// A barre writes "barre": (endString << 16) | (string << 8) | fret sign-extended to 32 bits,
    /// unmasked. Every other indicator writes "indicator": string in the high byte, fret masked
    /// to 8 bits in the low byte. Both are number objects.
    void encodeWithCoder(TARVKeyedArchiver& coder) const;
    /// An indicator of the class the archive names. Reads the older keys "fret", "string" and
    /// "endstring" when present, else "indicator" or "barre"; missing keys leave fields at 0.
    static std::optional<TARVFretIndicator> initWithCoder(TARVKeyedUnarchiver& coder);

protected:
    constexpr TARVFretIndicator(std::int8_t fret, std::uint8_t string, std::uint8_t endString,
                                TARVIndicatorClass cls) noexcept
        : _fret(fret), _string(string), _endString(endString), _class(cls) {}
    constexpr void setEndStringField(std::uint8_t endString) noexcept { _endString = endString; }

private:
    std::int8_t _fret = 0;
    std::uint8_t _string = 0;
    std::uint8_t _endString = 0;
    TARVIndicatorClass _class = TARVIndicatorClass::Fret;
};

static_assert(sizeof(TARVFretIndicator) == 4);

} // namespace tarv
