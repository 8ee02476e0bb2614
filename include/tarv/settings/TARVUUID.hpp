#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>

namespace tarv {

/// A universally unique identifier.
class TARVUUID {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    /// A fresh random (version 4) identifier.
    TARVUUID();
    explicit TARVUUID(const Bytes& bytes) noexcept : _bytes(bytes) {}

    const Bytes& bytes() const noexcept { return _bytes; }
    /// The canonical upper-case text, "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
    std::string string() const;

    bool operator==(const TARVUUID& other) const noexcept = default;
    auto operator<=>(const TARVUUID& other) const noexcept = default;
    std::uint64_t hash() const noexcept;

private:
    Bytes _bytes;
};

} // namespace tarv

template <> struct std::hash<tarv::TARVUUID> {
    std::size_t operator()(const tarv::TARVUUID& uuid) const noexcept { return uuid.hash(); }
};
