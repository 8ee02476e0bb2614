#pragma once

// Small archivable classes for the tests of the keyed archive facility.

#include "tarv/archive/TARVArchiveClass.hpp"
#include "tarv/archive/TARVKeyedArchiver.hpp"
#include "tarv/archive/TARVKeyedUnarchiver.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace tarv::testing {

inline constexpr TARVArchiveClass kTestPointClass{"TARVTestPoint", &TARVArchiveClasses::NSObject,
                                                  true};
inline constexpr TARVArchiveClass kTestLabeledPointClass{"TARVTestLabeledPoint", &kTestPointClass,
                                                         true};
inline constexpr TARVArchiveClass kTestNodeClass{"TARVTestNode", &TARVArchiveClasses::NSObject,
                                                 true};
inline constexpr TARVArchiveClass kTestInsecureClass{"TARVTestInsecure",
                                                     &TARVArchiveClasses::NSObject, false};

/// A value type with a subclass: "x" is stored directly, "y" as a number object.
struct TestPoint {
    std::int64_t x = 0;
    std::int64_t y = 0;
    bool labeled = false;

    static const TARVArchiveClass& archiveClass() { return kTestPointClass; }
    static std::span<const TARVArchiveClass* const> archiveClasses() {
        static const TARVArchiveClass* const classes[] = {&kTestPointClass,
                                                          &kTestLabeledPointClass};
        return classes;
    }
    const TARVArchiveClass& classForKeyedArchiver() const {
        return labeled ? kTestLabeledPointClass : kTestPointClass;
    }
    void encodeWithCoder(TARVKeyedArchiver& coder) const {
        coder.encodeInt64(x, "x");
        coder.encodeNumber(y, "y");
    }
    static std::optional<TestPoint> initWithCoder(TARVKeyedUnarchiver& coder) {
        TestPoint point;
        point.x = coder.decodeInt64("x");
        point.y = coder.decodeInt64("y");
        point.labeled = coder.decodingClass() == &kTestLabeledPointClass;
        return point;
    }
    bool operator==(const TestPoint&) const = default;
};

/// A shared object that may refer to another one.
struct TestNode {
    std::string name;
    std::shared_ptr<TestNode> next;

    static const TARVArchiveClass& archiveClass() { return kTestNodeClass; }
    void encodeWithCoder(TARVKeyedArchiver& coder) const {
        coder.encodeString(name, "name");
        coder.encodeObject(next, "next");
    }
    static std::shared_ptr<TestNode> initWithCoder(TARVKeyedUnarchiver& coder) {
        auto node = std::make_shared<TestNode>();
        node->name = coder.decodeString("name").value_or("");
        node->next = coder.decodeObjectOfClass<TestNode>("next");
        if (!node->name.empty() && node->name.front() == '!') {
            return nullptr;
        }
        return node;
    }
};

/// A class that does not support secure coding.
struct TestInsecure {
    std::int32_t value = 0;

    static const TARVArchiveClass& archiveClass() { return kTestInsecureClass; }
    void encodeWithCoder(TARVKeyedArchiver& coder) const { coder.encodeInt32(value, "value"); }
    static std::optional<TestInsecure> initWithCoder(TARVKeyedUnarchiver& coder) {
        return TestInsecure{coder.decodeInt32("value")};
    }
};

/// An object archived under the class of `Class` with whatever keys a test writes, for archives
/// that `Class` itself would not write. It reads nothing back.
template <typename Class> struct HandWrittenObject {
    std::function<void(TARVKeyedArchiver&)> write;

    static const TARVArchiveClass& archiveClass() { return Class::archiveClass(); }
    void encodeWithCoder(TARVKeyedArchiver& coder) const { write(coder); }
    static std::optional<HandWrittenObject> initWithCoder(TARVKeyedUnarchiver&) {
        return std::nullopt;
    }
};

template <typename Class>
std::vector<std::uint8_t> handWrittenArchive(std::function<void(TARVKeyedArchiver&)> write) {
    return TARVKeyedArchiver::archivedDataWithRootObject(
        HandWrittenObject<Class>{std::move(write)});
}

} // namespace tarv::testing
