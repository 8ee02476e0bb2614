#include "tarv/archive/TARVArchiveClass.hpp"

#include <algorithm>

namespace tarv {

bool TARVArchiveClass::isSubclassOfClass(const TARVArchiveClass& other) const noexcept {
    for (const TARVArchiveClass* cls = this; cls != nullptr; cls = cls->superclass) {
        if (cls->name == other.name) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> TARVArchiveClass::classChain() const {
    std::vector<std::string> chain;
    for (const TARVArchiveClass* cls = this; cls != nullptr; cls = cls->superclass) {
        chain.emplace_back(cls->name);
    }
    return chain;
}

TARVClassNameSet::TARVClassNameSet(std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        insert(name);
    }
}

TARVClassNameSet::TARVClassNameSet(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        insert(name);
    }
}

void TARVClassNameSet::insert(std::string_view name) {
    if (!contains(name)) {
        _names.emplace_back(name);
    }
}

void TARVClassNameSet::insert(const TARVClassNameSet& other) {
    for (const std::string& name : other._names) {
        insert(name);
    }
}

bool TARVClassNameSet::contains(std::string_view name) const noexcept {
    return std::find(_names.begin(), _names.end(), name) != _names.end();
}

bool TARVClassNameSet::allowsClass(const TARVArchiveClass& cls) const noexcept {
    for (const TARVArchiveClass* current = &cls; current != nullptr;
         current = current->superclass) {
        if (contains(current->name)) {
            return true;
        }
    }
    return false;
}

std::string TARVClassNameSet::description() const {
    std::string text;
    for (const std::string& name : _names) {
        if (!text.empty()) {
            text += ", ";
        }
        text += name;
    }
    return text;
}

} // namespace tarv
