#include "TARVPropertyListText.hpp"

#include "TARVPropertyListNesting.hpp"

#include <cstdint>
#include <span>

namespace tarv {

namespace {

bool isXMLSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

void appendUTF8(std::string& out, std::uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

/// UTF-16 text (without its byte-order mark) as UTF-8; nothing when it is not well-formed.
std::optional<std::string> utf8FromUTF16(std::string_view data, bool bigEndian) {
    if (data.size() % 2 != 0) {
        return std::nullopt;
    }
    const auto unit = [&](std::size_t i) {
        const auto a = static_cast<std::uint8_t>(data[2 * i]);
        const auto b = static_cast<std::uint8_t>(data[2 * i + 1]);
        return static_cast<std::uint32_t>(bigEndian ? (a << 8) | b : (b << 8) | a);
    };
    const std::size_t count = data.size() / 2;
    std::string out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t code = unit(i);
        if (code >= 0xD800 && code <= 0xDBFF) {
            if (i + 1 >= count) {
                return std::nullopt;
            }
            const std::uint32_t low = unit(++i);
            if (low < 0xDC00 || low > 0xDFFF) {
                return std::nullopt;
            }
            code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        } else if (code >= 0xDC00 && code <= 0xDFFF) {
            return std::nullopt;
        }
        appendUTF8(out, code);
    }
    return out;
}

/// The XML text as UTF-8 without a byte-order mark.
std::optional<std::string> utf8Text(std::string_view data) {
    const auto starts = [&](std::initializer_list<unsigned char> bytes) {
        if (data.size() < bytes.size()) {
            return false;
        }
        std::size_t i = 0;
        for (const unsigned char b : bytes) {
            if (static_cast<unsigned char>(data[i++]) != b) {
                return false;
            }
        }
        return true;
    };
    if (starts({0xEF, 0xBB, 0xBF})) {
        return std::string(data.substr(3));
    }
    if (starts({0xFE, 0xFF})) {
        return utf8FromUTF16(data.substr(2), true);
    }
    if (starts({0xFF, 0xFE})) {
        return utf8FromUTF16(data.substr(2), false);
    }
    // Without a mark, UTF-16 shows itself by the zero byte beside the first "<".
    if (starts({0x00, '<'})) {
        return utf8FromUTF16(data, true);
    }
    if (starts({'<', 0x00})) {
        return utf8FromUTF16(data, false);
    }
    return std::string(data);
}

/// The plain decimal form of an `<integer>`'s text, or nothing when it is not an integer of
/// 64 bits.
std::optional<std::string> decimalInteger(std::string_view text) {
    while (!text.empty() && isXMLSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isXMLSpace(text.back())) {
        text.remove_suffix(1);
    }
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    unsigned base = 10;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    std::uint64_t magnitude = 0;
    for (const char c : text) {
        unsigned digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned>(c - '0');
        } else if (base == 16 && c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned>(c - 'a' + 10);
        } else if (base == 16 && c >= 'A' && c <= 'F') {
            digit = static_cast<unsigned>(c - 'A' + 10);
        } else {
            return std::nullopt;
        }
        if (magnitude > (UINT64_MAX - digit) / base) {
            return std::nullopt;
        }
        magnitude = magnitude * base + digit;
    }
    if (negative && magnitude > (std::uint64_t{1} << 63)) {
        return std::nullopt;
    }
    if (negative && magnitude != 0) {
        return "-" + std::to_string(magnitude);
    }
    return std::to_string(magnitude);
}

/// Rewrites every `<integer>` of an XML property list in plain decimal; false, with `error` set,
/// for one that is not an integer of 64 bits. Comments, CDATA sections, processing instructions
/// and the document type are left alone.
bool rewriteIntegers(std::string& text, std::string& error) {
    std::string out;
    out.reserve(text.size());
    std::size_t position = 0;
    std::size_t copied = 0;
    // An unclosed tag ends the walk: the reader refuses the text on its own.
    while (const auto markup = TARVNextXMLMarkup(text, position)) {
        const std::string_view tag = markup->tag;
        position = markup->next;
        if (markup->end != ">" || !tag.starts_with("<integer")) {
            continue;
        }
        const std::string_view rest_of_name = tag.substr(8);
        if (!rest_of_name.empty() && rest_of_name != "/" && !isXMLSpace(rest_of_name.front())) {
            continue; // another element whose name starts with "integer"
        }
        if (tag.back() == '/') {
            error = "an <integer> is empty";
            return false;
        }
        const std::size_t closing = text.find("</integer>", position);
        if (closing == std::string::npos) {
            break;
        }
        const std::string_view content =
            std::string_view(text).substr(position, closing - position);
        const auto decimal = decimalInteger(content);
        if (!decimal) {
            error = content.empty() ? "an <integer> is empty"
                                    : "<integer>" + std::string(content.substr(0, 40)) +
                                          "</integer> is not an integer of 64 bits";
            return false;
        }
        out.append(text, copied, position - copied);
        out += *decimal;
        copied = closing;
        position = closing + 10;
    }
    if (copied > 0) {
        out.append(text, copied, std::string::npos);
        text = std::move(out);
    }
    return true;
}

/// True when the text holds a NUL character, raw or as a character reference.
bool holdsNUL(std::string_view text) {
    if (text.find('\0') != std::string_view::npos) {
        return true;
    }
    for (std::size_t at = text.find("&#"); at != std::string_view::npos;
         at = text.find("&#", at + 2)) {
        std::size_t i = at + 2;
        const bool hex = i < text.size() && (text[i] == 'x' || text[i] == 'X');
        if (hex) {
            ++i;
        }
        const std::size_t digits = i;
        while (i < text.size() && text[i] == '0') {
            ++i;
        }
        if (i > digits && i < text.size() && text[i] == ';') {
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<std::string> TARVReadablePropertyList(std::string_view data, std::size_t maxNesting,
                                                    std::string& error) {
    if (data.starts_with("bplist")) {
        const std::span bytes(reinterpret_cast<const std::uint8_t*>(data.data()), data.size());
        if (TARVBinaryPropertyListNestsDeeperThan(bytes, maxNesting)) {
            error = "the property list nests deeper than " + std::to_string(maxNesting) + " levels";
            return std::nullopt;
        }
        if (TARVBinaryPropertyListHasKeyWithNUL(bytes)) {
            error = "a dictionary key of the property list holds a NUL character";
            return std::nullopt;
        }
        return std::string(data);
    }
    auto text = utf8Text(data);
    if (!text) {
        error = "the property list is not well-formed UTF-16";
        return std::nullopt;
    }
    if (holdsNUL(*text)) {
        error = "the property list holds a NUL character";
        return std::nullopt;
    }
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(text->data()), text->size());
    if (TARVXMLPropertyListNestsDeeperThan(bytes, maxNesting)) {
        error = "the property list nests deeper than " + std::to_string(maxNesting) + " levels";
        return std::nullopt;
    }
    if (!rewriteIntegers(*text, error)) {
        return std::nullopt;
    }
    return text;
}

} // namespace tarv
