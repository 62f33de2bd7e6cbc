#pragma once

#include <map>
#include <string>

#include "host/model/repository.h"

namespace velkhost {

/// Puts the superclass's properties before the class's own and completes the derivation. A property declared
/// again keeps its place and takes the new initial value and qualifiers. Throws std::invalid_argument when it
/// is declared again with another type.
void DeriveFrom(const ClassDef& superclass, ClassDef& definition);

/// Carries the declarations of one document into a repository; aliases live as long as it does.
class RepositoryLoader {
  public:
    RepositoryLoader(Repository& repository, const std::string& file)
        : repository_(repository), file_(file) {}

    void Load(const mof::ClassDeclaration& declaration);
    void Load(const mof::InstanceDeclaration& declaration);
    void Load(const mof::Deletion& deletion);

  private:
    [[noreturn]] void Fail(mof::Location at, const std::string& message) const;
    void RequireNamespace(const std::wstring& nameSpace, mof::Location at) const;
    QualifierList MakeQualifiers(const std::vector<mof::Qualifier>& declared) const;
    PropertyDef MakeProperty(const mof::Property& declared) const;
    Value MakeValue(const std::wstring& nameSpace, const PropertyDef& property,
                    const mof::Literal& literal) const;

    struct AliasTarget {
        std::wstring nameSpace;
        velk::ComPtr<ClassObject> instance;
    };

    Repository& repository_;
    const std::string& file_;
    std::map<std::wstring, AliasTarget> aliases_;
};

}  // namespace velkhost
