#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace tarv {

/// True when the containers (lists, dictionaries, sets) of a binary property list nest deeper
/// than `limit`, following object references from the top object. A structure too damaged to
/// follow answers false: the property list reader refuses it on its own.
bool TARVBinaryPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit);

/// True when a dictionary of a binary property list has a key holding a NUL character, which
/// libplist's reader keeps but cannot hand out. A structure too damaged to follow answers false.
bool TARVBinaryPropertyListHasKeyWithNUL(std::span<const std::uint8_t> data);

/// True when the `<array>` and `<dict>` elements of an XML property list nest deeper than
/// `limit`. Comments, processing instructions, the document type and CDATA sections are skipped.
bool TARVXMLPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit);

/// One piece of XML markup: an element tag, or a comment, CDATA section or processing
/// instruction, which end in "-->", "]]>" and "?>".
struct TARVXMLMarkup {
    /// From "<" up to the end marker, which is not included.
    std::string_view tag;
    /// ">" for an element tag.
    std::string_view end;
    /// Just past the end marker.
    std::size_t next = 0;
};
/// The first markup of `text` at or after `position`; absent when there is none, or when it is
/// not closed.
std::optional<TARVXMLMarkup> TARVNextXMLMarkup(std::string_view text, std::size_t position);

} // namespace tarv
