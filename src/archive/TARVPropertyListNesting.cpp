#include "TARVPropertyListNesting.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <vector>

namespace tarv {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;

std::optional<std::uint64_t> bigEndian(std::span<const std::uint8_t> data, std::uint64_t offset,
                                       std::uint64_t size) {
    if (size == 0 || size > 8 || offset > data.size() || size > data.size() - offset) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (std::uint64_t i = 0; i < size; ++i) {
        value = (value << 8) | data[static_cast<std::size_t>(offset + i)];
    }
    return value;
}

struct BinaryLayout {
    std::span<const std::uint8_t> data;
    std::uint64_t offsetSize;
    std::uint64_t referenceSize;
    std::uint64_t objectCount;
    std::uint64_t offsetTable;

    std::optional<std::uint64_t> offsetOf(std::uint64_t object) const {
        return bigEndian(data, offsetTable + object * offsetSize, offsetSize);
    }

    struct Header {
        std::uint8_t type;
        std::uint64_t count;
        std::uint64_t position;
    };
    /// The type, the count and where the contents start, of an object; nothing when it cannot
    /// be read.
    std::optional<Header> headerOf(std::uint64_t object) const {
        const auto offset = offsetOf(object);
        if (!offset || *offset >= data.size()) {
            return std::nullopt;
        }
        const std::uint8_t marker = data[static_cast<std::size_t>(*offset)];
        const std::uint8_t type = marker >> 4;
        std::uint64_t count = marker & 0x0F;
        std::uint64_t position = *offset + 1;
        if (count == 0x0F) {
            if (position >= data.size() || (data[static_cast<std::size_t>(position)] >> 4) != 0x1) {
                return std::nullopt;
            }
            const std::uint64_t size = std::uint64_t{1}
                                       << (data[static_cast<std::size_t>(position)] & 0x0F);
            const auto value = bigEndian(data, position + 1, size);
            if (!value) {
                return std::nullopt;
            }
            count = *value;
            position += 1 + size;
        }
        return Header{type, count, position};
    }

    // The objects a container refers to; none for other objects or what cannot be read.
    std::vector<std::uint64_t> childrenOf(std::uint64_t object) const {
        const auto header = headerOf(object);
        if (!header || (header->type != 0xA && header->type != 0xC && header->type != 0xD)) {
            return {};
        }
        std::uint64_t count = header->count;
        const std::uint64_t position = header->position;
        if (header->type == 0xD) {
            count *= 2;
        }
        if (count > data.size() ||
            count * referenceSize > data.size() - std::min<std::uint64_t>(position, data.size())) {
            return {};
        }
        std::vector<std::uint64_t> children;
        children.reserve(static_cast<std::size_t>(count));
        for (std::uint64_t i = 0; i < count; ++i) {
            const auto child = bigEndian(data, position + i * referenceSize, referenceSize);
            if (child && *child < objectCount) {
                children.push_back(*child);
            }
        }
        return children;
    }

    /// Whether a text object holds a NUL character (a zero byte of an ASCII or UTF-8 text, a
    /// zero unit of a UTF-16 text).
    bool textHoldsNUL(std::uint64_t object) const {
        const auto header = headerOf(object);
        if (!header || (header->type != 0x5 && header->type != 0x6 && header->type != 0x7)) {
            return false;
        }
        const std::uint64_t unit = header->type == 0x6 ? 2 : 1;
        if (header->position > data.size() || header->count > data.size() ||
            header->count * unit > data.size() - header->position) {
            return false;
        }
        for (std::uint64_t i = 0; i < header->count; ++i) {
            const auto at = static_cast<std::size_t>(header->position + i * unit);
            if (data[at] == 0 && (unit == 1 || data[at + 1] == 0)) {
                return true;
            }
        }
        return false;
    }
};

std::optional<BinaryLayout> layoutOf(std::span<const std::uint8_t> data, std::uint64_t& top) {
    if (data.size() < kHeaderSize + kTrailerSize) {
        return std::nullopt;
    }
    const std::uint64_t trailer = data.size() - kTrailerSize;
    const BinaryLayout layout{data, data[static_cast<std::size_t>(trailer + 6)],
                              data[static_cast<std::size_t>(trailer + 7)],
                              bigEndian(data, trailer + 8, 8).value_or(0),
                              bigEndian(data, trailer + 24, 8).value_or(0)};
    top = bigEndian(data, trailer + 16, 8).value_or(0);
    if (layout.offsetSize == 0 || layout.offsetSize > 8 || layout.referenceSize == 0 ||
        layout.referenceSize > 8 || layout.objectCount == 0 || layout.objectCount > data.size() ||
        top >= layout.objectCount) {
        return std::nullopt;
    }
    return layout;
}

} // namespace

bool TARVBinaryPropertyListHasKeyWithNUL(std::span<const std::uint8_t> data) {
    std::uint64_t top = 0;
    const auto layout = layoutOf(data, top);
    if (!layout) {
        return false;
    }
    for (std::uint64_t object = 0; object < layout->objectCount; ++object) {
        const auto header = layout->headerOf(object);
        if (!header || header->type != 0xD) {
            continue;
        }
        const auto children = layout->childrenOf(object);
        if (children.size() != header->count * 2) {
            continue; // damaged: the reader refuses it on its own
        }
        // The keys come first, then the values.
        for (std::size_t i = 0; i < children.size() / 2; ++i) {
            if (layout->textHoldsNUL(children[i])) {
                return true;
            }
        }
    }
    return false;
}

bool TARVBinaryPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit) {
    std::uint64_t top = 0;
    const auto found = layoutOf(data, top);
    if (!found) {
        return false;
    }
    const BinaryLayout& layout = *found;

    // Depth-first over the containers without recursion; the depth of each container is kept
    // once known, so shared ones are walked once. The stack holds the containers of the path.
    enum : std::uint8_t { Unvisited, Visiting, Done };
    std::vector<std::uint8_t> state(static_cast<std::size_t>(layout.objectCount), Unvisited);
    std::vector<std::size_t> depth(static_cast<std::size_t>(layout.objectCount), 0);
    struct Frame {
        std::uint64_t object;
        std::vector<std::uint64_t> children;
        std::size_t next;
        std::size_t deepest;
    };
    std::vector<Frame> stack;
    auto topChildren = layout.childrenOf(top);
    if (topChildren.empty()) {
        return false;
    }
    if (limit == 0) {
        return true;
    }
    stack.push_back({top, std::move(topChildren), 0, 0});
    state[static_cast<std::size_t>(top)] = Visiting;
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.children.size()) {
            const auto object = static_cast<std::size_t>(frame.object);
            depth[object] = frame.deepest + 1;
            state[object] = Done;
            stack.pop_back();
            if (!stack.empty()) {
                stack.back().deepest = std::max(stack.back().deepest, depth[object]);
            }
            continue;
        }
        const auto child = static_cast<std::size_t>(frame.children[frame.next++]);
        if (state[child] == Visiting) {
            return false; // a cycle: the reader refuses it
        }
        if (state[child] == Done) {
            frame.deepest = std::max(frame.deepest, depth[child]);
            if (stack.size() + depth[child] > limit) {
                return true;
            }
            continue;
        }
        auto children = layout.childrenOf(child);
        state[child] = Done;
        if (children.empty()) {
            continue;
        }
        if (stack.size() + 1 > limit) {
            return true;
        }
        state[child] = Visiting;
        stack.push_back({child, std::move(children), 0, 0});
    }
    return false;
}

std::optional<TARVXMLMarkup> TARVNextXMLMarkup(std::string_view text, std::size_t position) {
    position = text.find('<', position);
    if (position == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view rest = text.substr(position);
    std::string_view end = ">";
    if (rest.starts_with("<!--")) {
        end = "-->";
    } else if (rest.starts_with("<![CDATA[")) {
        end = "]]>";
    } else if (rest.starts_with("<?")) {
        end = "?>";
    }
    const std::size_t close = text.find(end, position + 1);
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    return TARVXMLMarkup{text.substr(position, close - position), end, close + end.size()};
}

bool TARVXMLPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit) {
    const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
    std::size_t depth = 0;
    for (auto markup = TARVNextXMLMarkup(text, 0); markup;
         markup = TARVNextXMLMarkup(text, markup->next)) {
        const std::string_view tag = markup->tag;
        if (markup->end == ">" && tag.size() > 1 && tag.back() != '/') {
            const bool closing = tag[1] == '/';
            const std::string_view name = tag.substr(closing ? 2 : 1);
            const auto isContainer = [](std::string_view n) {
                const auto word = n.substr(0, n.find_first_of(" \t\r\n"));
                return word == "array" || word == "dict";
            };
            if (isContainer(name)) {
                if (closing) {
                    depth = depth > 0 ? depth - 1 : 0;
                } else if (++depth > limit) {
                    return true;
                }
            }
        }
    }
    return false;
}

} // namespace tarv
