#include "tarv/archive/TARVArchiveNumber.hpp"

#include <cmath>
#include <cstdio>
#include <limits>

namespace tarv {

namespace {

// Truncates toward zero and saturates, so that no real gives an out-of-range conversion.
std::uint64_t bitsOfReal(double real) noexcept {
    if (std::isnan(real)) {
        return 0;
    }
    constexpr double kTwo63 = 9223372036854775808.0;
    constexpr double kTwo64 = 18446744073709551616.0;
    if (real >= kTwo64) {
        return std::numeric_limits<std::uint64_t>::max();
    }
    if (real >= kTwo63) {
        return static_cast<std::uint64_t>(real);
    }
    if (real < -kTwo63) {
        return static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::min());
    }
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(real));
}

} // namespace

std::uint64_t TARVArchiveNumber::bits() const noexcept {
    return _kind == Kind::Real ? bitsOfReal(_real) : _bits;
}

double TARVArchiveNumber::doubleValue() const noexcept {
    switch (_kind) {
    case Kind::Signed:
        return static_cast<double>(static_cast<std::int64_t>(_bits));
    case Kind::Unsigned:
    case Kind::Boolean:
        return static_cast<double>(_bits);
    case Kind::Real:
        break;
    }
    return _real;
}

bool TARVArchiveNumber::boolValue() const noexcept {
    return _kind == Kind::Real ? _real != 0.0 : _bits != 0;
}

bool TARVArchiveNumber::operator==(const TARVArchiveNumber& other) const noexcept {
    if (_kind != other._kind) {
        return false;
    }
    return _kind == Kind::Real ? _real == other._real : _bits == other._bits;
}

std::string TARVArchiveNumber::description() const {
    switch (_kind) {
    case Kind::Signed:
        return std::to_string(static_cast<std::int64_t>(_bits));
    case Kind::Unsigned:
        return std::to_string(_bits);
    case Kind::Boolean:
        return _bits != 0 ? "true" : "false";
    case Kind::Real:
        break;
    }
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.17g", _real);
    return buffer;
}

} // namespace tarv
