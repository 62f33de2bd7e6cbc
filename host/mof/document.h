#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "host/mof/cim_type.h"

// What a MOF text says, before any class is looked up. Everything here is plain C++: the reader is also built
// natively, to be fuzzed.

namespace velkhost::mof {

/// A place in a MOF text; both numbers count from 1, columns in characters.
struct Location {
    int line = 1;
    int column = 1;
};

/// What is wrong with a MOF text: what() is "FILE(LINE,COLUMN): message", the form that mofcomp and compilers
/// use.
class MofError : public std::runtime_error {
  public:
    MofError(const std::string& file, Location at, const std::string& message);
    Location At() const { return at_; }

  private:
    Location at_;
};

/// An integer as written: sign and magnitude, so that all of sint64 and uint64 fits.
struct Integer {
    bool negative = false;
    std::uint64_t magnitude = 0;
};

/// The name of an alias ("$Provider", dollar sign included) that stands for the path of an instance.
struct Alias {
    std::wstring name;
};

/// A constant. The empty alternative is NULL.
struct Literal {
    using List = std::vector<Literal>;
    std::variant<std::monostate, bool, Integer, double, std::wstring, Alias, List> data;
    Location at;
};

struct Qualifier {
    std::wstring name;
    Literal value;  ///< TRUE when none is written
    std::vector<std::wstring> flavors;
    Location at;
};

struct Property {
    std::vector<Qualifier> qualifiers;
    CimType type;
    std::wstring referenceClass;  ///< of a reference only
    std::wstring name;
    Literal initial;  ///< NULL when none is written
    Location at;
};

struct ClassDeclaration {
    std::wstring nameSpace;
    std::vector<Qualifier> qualifiers;
    std::wstring name;
    std::wstring superclass;  ///< empty for a class of its own
    std::vector<Property> properties;
    Location at;
};

struct InstanceDeclaration {
    struct Assignment {
        std::wstring name;
        Literal value;
        Location at;
    };
    std::wstring nameSpace;
    std::wstring className;
    std::wstring alias;  ///< empty when it has none
    std::vector<Assignment> values;
    Location at;
};

/// #pragma deleteclass and #pragma deleteinstance.
struct Deletion {
    std::wstring nameSpace;
    bool isInstance = false;
    std::wstring target;        ///< class name or instance path
    bool mayBeMissing = false;  ///< NOFAIL
    Location at;
};

using Declaration = std::variant<ClassDeclaration, InstanceDeclaration, Deletion>;

/// A MOF text: its declarations in order, each with the namespace in force (\\.\root\default before the first
/// pragma, as mofcomp does).
struct Document {
    std::string file;
    bool autorecover = false;
    std::vector<Declaration> declarations;
};

}  // namespace velkhost::mof
