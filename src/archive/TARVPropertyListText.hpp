#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace tarv {

/// The bytes of a property list made ready for libplist's readers, which trust their input more
/// than a property list from outside deserves:
/// - a binary property list is answered as it is;
/// - an XML property list in UTF-16 (with or without a byte-order mark) or with a UTF-8
///   byte-order mark becomes UTF-8 without one, and every `<integer>` is written in plain
///   decimal ("022" is 22, as every property list reader reads it, not octal 18).
/// Nothing, with `error` set, when the property list nests deeper than `maxNesting`, a binary
/// dictionary has a key holding a NUL character, an XML text is not well-formed UTF-16, holds a
/// NUL character, or has an `<integer>` that is empty, not a number, or outside the range of
/// 64 bits (signed for negative values, unsigned for the others).
std::optional<std::string> TARVReadablePropertyList(std::string_view data, std::size_t maxNesting,
                                                    std::string& error);

} // namespace tarv
