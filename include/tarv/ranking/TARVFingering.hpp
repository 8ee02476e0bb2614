#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tarv {

/// Which finger of the fretting hand holds each string of a shape, and the barres it lays.
///
/// Fingers are numbered as guitar books do: 1 index, 2 middle, 3 ring, 4 little finger, and
/// `kThumb` for the thumb over the neck. A barre is always laid by one finger across adjacent
/// strings at one fret.
class TARVFingering {
public:
    /// The finger value of a string no finger holds (open or muted).
    static constexpr std::uint8_t kNone = 0;
    /// The finger value of the thumb.
    static constexpr std::uint8_t kThumb = 5;

    /// One finger across the strings `lowString` to `highString` (string numbers, both
    /// inclusive, `lowString` <= `highString`) at `fret` (relative to the capo).
    struct Barre {
        std::uint8_t fret = 0;
        std::uint8_t lowString = 0;
        std::uint8_t highString = 0;
        std::uint8_t finger = 1;
        bool operator==(const Barre&) const = default;
    };

    /// Limits of the hand that `fingeringForFrets` plays with.
    struct Hand {
        /// The thumb may hold the string with the highest string number (the edge of the neck
        /// nearest the thumb), at most one fret behind or in front of the index finger.
        bool allowThumb = false;
    };

    TARVFingering() = default;
    TARVFingering(std::vector<std::uint8_t> fingers, std::vector<Barre> barres, double stretch,
                  double crossing);

    /// The easiest way to hold `frets` (one entry per string number; a negative fret is a muted
    /// string, 0 an open one, above 0 a fretted note relative to the capo) with four fingers,
    /// an index-finger barre and, when the hand allows it, the thumb: the assignment of least
    /// strain (stretch beyond a fret per finger, crossed fingers, barre length). Absent when no
    /// hand can hold the frets.
    static std::optional<TARVFingering> fingeringForFrets(std::span<const std::int8_t> frets,
                                                          const Hand& hand);
    static std::optional<TARVFingering> fingeringForFrets(std::span<const std::int8_t> frets) {
        return fingeringForFrets(frets, Hand{});
    }

    /// Per string number: `kNone`, 1 to 4, or `kThumb`. A string under a barre carries the
    /// barre's finger unless another finger frets it higher.
    const std::vector<std::uint8_t>& fingers() const noexcept { return _fingers; }
    const std::vector<Barre>& barres() const noexcept { return _barres; }
    /// Fingers in use, a barre counting once and the thumb counting as one.
    std::uint8_t fingerCount() const noexcept { return _fingerCount; }
    bool usesThumb() const noexcept;
    /// Frets of stretch beyond one fret per finger, summed over neighbouring fingers.
    double stretch() const noexcept { return _stretch; }
    /// How much the fingers cross: a higher finger on a thicker string at the same fret.
    double crossing() const noexcept { return _crossing; }
    /// The strain the assignment was chosen by: stretch, crossing and barre length together.
    double strain() const noexcept;
    /// The fingers from the highest string number down to string 0, as chord books print them
    /// under a diagram: "x32010" becomes "-,3,2,-,1,-" ("T" for the thumb, "-" for none).
    std::string text() const;

    bool operator==(const TARVFingering&) const = default;

private:
    std::vector<std::uint8_t> _fingers;
    std::vector<Barre> _barres;
    double _stretch = 0;
    double _crossing = 0;
    std::uint8_t _fingerCount = 0;
};

} // namespace tarv
