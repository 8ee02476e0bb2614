#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tarv {

/// A class as keyed archives name it: its name, its superclass, and whether secure decoding may
/// make objects of it. Descriptors are constant objects that live for the whole program; every
/// chain of superclasses ends at `TARVArchiveClasses::NSObject`.
struct TARVArchiveClass {
    std::string_view name;
    const TARVArchiveClass* superclass = nullptr;
    bool supportsSecureCoding = true;

    /// True when this class is `other` or inherits from it (compared by name).
    bool isSubclassOfClass(const TARVArchiveClass& other) const noexcept;
    /// This class's name, then the names of its superclasses up to the root: the "$classes"
    /// list of the archive's class dictionary.
    std::vector<std::string> classChain() const;
};

/// The platform classes that keyed archives name for texts, numbers and collections.
namespace TARVArchiveClasses {
inline constexpr TARVArchiveClass NSObject{"NSObject", nullptr, true};
inline constexpr TARVArchiveClass NSString{"NSString", &NSObject, true};
inline constexpr TARVArchiveClass NSMutableString{"NSMutableString", &NSString, true};
inline constexpr TARVArchiveClass NSValue{"NSValue", &NSObject, true};
inline constexpr TARVArchiveClass NSNumber{"NSNumber", &NSValue, true};
inline constexpr TARVArchiveClass NSArray{"NSArray", &NSObject, true};
inline constexpr TARVArchiveClass NSMutableArray{"NSMutableArray", &NSArray, true};
inline constexpr TARVArchiveClass NSOrderedSet{"NSOrderedSet", &NSObject, true};
inline constexpr TARVArchiveClass NSMutableOrderedSet{"NSMutableOrderedSet", &NSOrderedSet, true};
inline constexpr TARVArchiveClass NSDictionary{"NSDictionary", &NSObject, true};
inline constexpr TARVArchiveClass NSMutableDictionary{"NSMutableDictionary", &NSDictionary, true};
} // namespace TARVArchiveClasses

/// The names of the classes that a secure decode allows. A class is allowed when it, or one of
/// its superclasses, is named.
class TARVClassNameSet {
public:
    TARVClassNameSet() = default;
    TARVClassNameSet(std::initializer_list<std::string_view> names);
    explicit TARVClassNameSet(const std::vector<std::string>& names);

    void insert(std::string_view name);
    void insert(const TARVClassNameSet& other);
    bool contains(std::string_view name) const noexcept;
    /// True when `cls` or one of its superclasses is in the set.
    bool allowsClass(const TARVArchiveClass& cls) const noexcept;

    const std::vector<std::string>& names() const noexcept { return _names; }
    bool empty() const noexcept { return _names.empty(); }
    /// The names in insertion order, separated by ", ".
    std::string description() const;

private:
    std::vector<std::string> _names;
};

} // namespace tarv
