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

    // The objects a container refers to; none for other objects or what cannot be read.
    std::vector<std::uint64_t> childrenOf(std::uint64_t object) const {
        const auto offset = offsetOf(object);
        if (!offset || *offset >= data.size()) {
            return {};
        }
        const std::uint8_t marker = data[static_cast<std::size_t>(*offset)];
        const std::uint8_t type = marker >> 4;
        if (type != 0xA && type != 0xC && type != 0xD) {
            return {};
        }
        std::uint64_t count = marker & 0x0F;
        std::uint64_t position = *offset + 1;
        if (count == 0x0F) {
            if (position >= data.size() || (data[static_cast<std::size_t>(position)] >> 4) != 0x1) {
                return {};
            }
            const std::uint64_t size = std::uint64_t{1}
                                       << (data[static_cast<std::size_t>(position)] & 0x0F);
            const auto value = bigEndian(data, position + 1, size);
            if (!value) {
                return {};
            }
            count = *value;
            position += 1 + size;
        }
        if (type == 0xD) {
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
};

} // namespace

bool TARVBinaryPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit) {
    if (data.size() < kHeaderSize + kTrailerSize) {
        return false;
    }
    const std::uint64_t trailer = data.size() - kTrailerSize;
    const BinaryLayout layout{data, data[static_cast<std::size_t>(trailer + 6)],
                              data[static_cast<std::size_t>(trailer + 7)],
                              bigEndian(data, trailer + 8, 8).value_or(0),
                              bigEndian(data, trailer + 24, 8).value_or(0)};
    const std::uint64_t top = bigEndian(data, trailer + 16, 8).value_or(0);
    if (layout.offsetSize == 0 || layout.offsetSize > 8 || layout.referenceSize == 0 ||
        layout.referenceSize > 8 || layout.objectCount == 0 || layout.objectCount > data.size() ||
        top >= layout.objectCount) {
        return false;
    }

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

bool TARVXMLPropertyListNestsDeeperThan(std::span<const std::uint8_t> data, std::size_t limit) {
    const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
    std::size_t depth = 0;
    std::size_t position = 0;
    while ((position = text.find('<', position)) != std::string_view::npos) {
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
            return false;
        }
        const std::string_view tag = text.substr(position, close - position);
        if (end == ">" && tag.size() > 1 && tag.back() != '/') {
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
        position = close + end.size();
    }
    return false;
}

} // namespace tarv
