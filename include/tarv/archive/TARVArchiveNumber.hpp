#pragma once

#include <concepts>
#include <cstdint>
#include <string>

namespace tarv {

/// A number object of a keyed archive: a signed or an unsigned 64-bit integer, a real or a
/// boolean.
///
/// Reading a number at a width converts it as a C cast of the integer would: the value is taken
/// modulo 2^width (two's complement for signed widths), so 0x1FF read as unsigned 8-bit is 0xFF
/// and as signed 8-bit is -1. A real is first truncated toward zero and saturated to the 64-bit
/// range (NaN reads as 0); a boolean reads as 0 or 1.
class TARVArchiveNumber {
public:
    enum class Kind : std::uint8_t { Signed, Unsigned, Real, Boolean };

    /// Signed 0.
    constexpr TARVArchiveNumber() noexcept = default;
    template <typename T>
    requires std::same_as<T, bool>
    constexpr TARVArchiveNumber(T value) noexcept : _kind(Kind::Boolean), _bits(value ? 1 : 0) {}
    template <std::signed_integral T>
    constexpr TARVArchiveNumber(T value) noexcept
        : _kind(Kind::Signed), _bits(static_cast<std::uint64_t>(static_cast<std::int64_t>(value))) {
    }
    template <std::unsigned_integral T>
    requires(!std::same_as<T, bool>) constexpr TARVArchiveNumber(T value) noexcept
        : _kind(Kind::Unsigned), _bits(static_cast<std::uint64_t>(value)) {}
    template <std::floating_point T>
    constexpr TARVArchiveNumber(T value) noexcept
        : _kind(Kind::Real), _real(static_cast<double>(value)) {}

    constexpr Kind kind() const noexcept { return _kind; }
    constexpr bool isInteger() const noexcept {
        return _kind == Kind::Signed || _kind == Kind::Unsigned;
    }

    /// The value as the two's complement bits of a 64-bit integer.
    std::uint64_t bits() const noexcept;

    template <std::integral T> T value() const noexcept {
        if constexpr (std::same_as<T, bool>) {
            return boolValue();
        } else {
            return static_cast<T>(bits());
        }
    }
    template <std::floating_point T> T value() const noexcept {
        return static_cast<T>(doubleValue());
    }

    std::int8_t charValue() const noexcept { return value<std::int8_t>(); }
    std::uint8_t unsignedCharValue() const noexcept { return value<std::uint8_t>(); }
    std::int16_t shortValue() const noexcept { return value<std::int16_t>(); }
    std::uint16_t unsignedShortValue() const noexcept { return value<std::uint16_t>(); }
    std::int32_t intValue() const noexcept { return value<std::int32_t>(); }
    std::uint32_t unsignedIntValue() const noexcept { return value<std::uint32_t>(); }
    std::int64_t longLongValue() const noexcept { return value<std::int64_t>(); }
    std::uint64_t unsignedLongLongValue() const noexcept { return value<std::uint64_t>(); }
    double doubleValue() const noexcept;
    bool boolValue() const noexcept;

    /// Same kind and same value (reals compared as doubles).
    bool operator==(const TARVArchiveNumber& other) const noexcept;

    /// "261", "18446744073709551615", "0.5", "true".
    std::string description() const;

private:
    Kind _kind = Kind::Signed;
    std::uint64_t _bits = 0;
    double _real = 0.0;
};

} // namespace tarv
