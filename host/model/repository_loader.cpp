#include "host/model/repository_loader.h"

#include <stdexcept>
#include <utility>

#include "common/text.h"
#include "host/model/literal_value.h"
#include "host/mof/parser.h"

namespace velkhost {

namespace {

// For messages: names are ASCII.
std::string Narrow(std::wstring_view text) {
    std::string narrow;
    for (const wchar_t character : text) {
        narrow += character >= 0x20 && character < 0x7F ? static_cast<char>(character) : '?';
    }
    return narrow;
}

std::wstring TypeQualifierText(const mof::Property& declared) {
    if (declared.type.element == Cim::kReference) {
        // "object ref" may refer to anything.
        return SameName(declared.referenceClass, L"object") ? L"ref" : L"ref:" + declared.referenceClass;
    }
    return std::wstring(CimKeyword(declared.type.element));
}

// What WMI allows as a key.
bool CanBeKey(const CimType& type) {
    return !type.isArray && type.element != Cim::kReal32 && type.element != Cim::kReal64 &&
           type.element != Cim::kObject;
}

}  // namespace

void DeriveFrom(const ClassDef& superclass, ClassDef& definition) {
    std::vector<PropertyDef> own = std::exchange(definition.properties, superclass.properties);
    for (PropertyDef& inherited : definition.properties) {
        for (QualifierDef& qualifier : inherited.qualifiers) {
            qualifier.flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
        }
    }
    for (PropertyDef& property : own) {
        const std::size_t index = definition.IndexOf(property.name);
        if (index == ClassDef::kNone) {
            definition.properties.push_back(std::move(property));
            continue;
        }
        PropertyDef& inherited = definition.properties[index];
        if (inherited.type != property.type) {
            throw std::invalid_argument("property '" + Narrow(property.name) +
                                        "' is declared with another type than in the superclass");
        }
        inherited.initial = std::move(property.initial);
        inherited.isKey = inherited.isKey || property.isKey;
        for (QualifierDef& qualifier : property.qualifiers) {
            std::erase_if(inherited.qualifiers,
                          [&](const QualifierDef& old) { return SameName(old.name, qualifier.name); });
            inherited.qualifiers.push_back(std::move(qualifier));
        }
    }
    for (const QualifierDef& qualifier : superclass.qualifiers) {
        const bool passesOn = (qualifier.flavor & WBEM_FLAVOR_FLAG_PROPAGATE_TO_DERIVED_CLASS) != 0 ||
                              SameName(qualifier.name, L"Association");
        if (!passesOn || FindQualifier(definition.qualifiers, qualifier.name) != nullptr) continue;
        definition.qualifiers.push_back(qualifier);
        definition.qualifiers.back().flavor |= WBEM_FLAVOR_ORIGIN_PROPAGATED;
    }
    definition.derivation = superclass.derivation;
    definition.derivation.insert(definition.derivation.begin(), superclass.name);
}

void RepositoryLoader::Fail(mof::Location at, const std::string& message) const {
    throw mof::MofError(file_, at, message);
}

void RepositoryLoader::RequireNamespace(const std::wstring& nameSpace, mof::Location at) const {
    if (!repository_.HasNamespace(nameSpace))
        Fail(at, "namespace '" + Narrow(nameSpace) + "' does not exist");
}

QualifierList RepositoryLoader::MakeQualifiers(const std::vector<mof::Qualifier>& declared) const {
    QualifierList qualifiers;
    for (const mof::Qualifier& one : declared) {
        if (FindQualifier(qualifiers, one.name) != nullptr) {
            Fail(one.at, "qualifier '" + Narrow(one.name) + "' is given twice");
        }
        std::optional<QualifierDef> made = MakeQualifier(one);
        if (!made) Fail(one.at, "qualifier '" + Narrow(one.name) + "' has no usable value");
        qualifiers.push_back(std::move(*made));
    }
    return qualifiers;
}

PropertyDef RepositoryLoader::MakeProperty(const mof::Property& declared) const {
    PropertyDef property;
    property.name = declared.name;
    property.type = declared.type;
    property.qualifiers = MakeQualifiers(declared.qualifiers);
    property.qualifiers.push_back({L"CIMTYPE", {Cim::kString}, Value::Text(TypeQualifierText(declared)), 0});
    const QualifierDef* key = FindQualifier(property.qualifiers, L"Key");
    property.isKey = key != nullptr && key->value == Value::Bool(true);
    if (property.isKey && !CanBeKey(property.type)) {
        Fail(declared.at, "property '" + Narrow(declared.name) + "' cannot be a key");
    }
    std::optional<Value> initial = ValueOfLiteral(declared.type, declared.initial);
    if (!initial) {
        Fail(declared.initial.at, "the value does not fit the type of '" + Narrow(declared.name) + "'");
    }
    property.initial = std::move(*initial);
    return property;
}

void RepositoryLoader::Load(const mof::ClassDeclaration& declaration) {
    RequireNamespace(declaration.nameSpace, declaration.at);
    ClassDef definition;
    definition.name = declaration.name;
    definition.qualifiers = MakeQualifiers(declaration.qualifiers);
    for (const mof::Property& declared : declaration.properties) {
        if (definition.Find(declared.name) != nullptr) {
            Fail(declared.at, "property '" + Narrow(declared.name) + "' is declared twice");
        }
        definition.properties.push_back(MakeProperty(declared));
    }
    if (!declaration.superclass.empty() &&
        repository_.FindClass(declaration.nameSpace, declaration.superclass) == nullptr) {
        Fail(declaration.at, "superclass '" + Narrow(declaration.superclass) + "' does not exist");
    }
    try {
        repository_.AddClass(declaration.nameSpace, std::move(definition), declaration.superclass);
    } catch (const std::invalid_argument& failure) {
        Fail(declaration.at, failure.what());
    }
}

Value RepositoryLoader::MakeValue(const std::wstring& nameSpace, const PropertyDef& property,
                                  const mof::Literal& literal) const {
    const auto* alias = std::get_if<mof::Alias>(&literal.data);
    if (alias == nullptr) {
        std::optional<Value> value = ValueOfLiteral(property.type, literal);
        if (!value) Fail(literal.at, "the value does not fit the type of '" + Narrow(property.name) + "'");
        return std::move(*value);
    }
    const auto found = aliases_.find(velk::ToUpper(alias->name));
    if (found == aliases_.end())
        Fail(literal.at, "alias '" + Narrow(alias->name) + "' is not defined before");
    if (property.type != CimType{Cim::kReference}) {
        Fail(literal.at, "'" + Narrow(property.name) + "' is no reference and cannot take an alias");
    }
    const ClassObject& target = *found->second.instance;
    // Within its own namespace an object is referred to by its relative path, as it may be written by hand.
    const bool isNear = SameName(NormalizeNamespace(found->second.nameSpace), NormalizeNamespace(nameSpace));
    return Value::Text(isNear ? *target.RelativePath() : *target.FullPath());
}

void RepositoryLoader::Load(const mof::InstanceDeclaration& declaration) {
    RequireNamespace(declaration.nameSpace, declaration.at);
    const ClassPtr definition = repository_.FindClass(declaration.nameSpace, declaration.className);
    if (definition == nullptr) {
        Fail(declaration.at, "class '" + Narrow(declaration.className) + "' does not exist");
    }
    std::vector<NamedValue> values;
    for (const auto& assignment : declaration.values) {
        const PropertyDef* property = definition->Find(assignment.name);
        if (property == nullptr) {
            Fail(assignment.at, "class '" + Narrow(definition->name) + "' has no property '" +
                                    Narrow(assignment.name) + "'");
        }
        for (const NamedValue& earlier : values) {
            if (SameName(earlier.name, assignment.name)) {
                Fail(assignment.at, "property '" + Narrow(assignment.name) + "' is set twice");
            }
        }
        values.push_back({property->name, MakeValue(declaration.nameSpace, *property, assignment.value)});
    }
    for (const PropertyDef& property : definition->properties) {
        bool isSet = !property.isKey || !property.initial.IsNull();
        for (const NamedValue& named : values) {
            isSet = isSet || (SameName(named.name, property.name) && !named.value.IsNull());
        }
        if (!isSet) Fail(declaration.at, "key '" + Narrow(property.name) + "' has no value");
    }

    if (SameName(definition->name, L"__NAMESPACE")) {
        repository_.AddNamespace(NormalizeNamespace(declaration.nameSpace) + L"\\" + ToText(values[0].value));
        return;
    }
    auto instance = repository_.AddInstance(declaration.nameSpace, declaration.className, values);
    if (!declaration.alias.empty()) {
        aliases_[velk::ToUpper(declaration.alias)] = {declaration.nameSpace, std::move(instance)};
    }
}

void RepositoryLoader::Load(const mof::Deletion& deletion) {
    RequireNamespace(deletion.nameSpace, deletion.at);
    const bool wasThere = deletion.isInstance
                              ? repository_.RemoveInstance(deletion.nameSpace, deletion.target)
                              : repository_.RemoveClass(deletion.nameSpace, deletion.target);
    if (!wasThere && !deletion.mayBeMissing) {
        Fail(deletion.at, "'" + Narrow(deletion.target) + "' is not there to be deleted");
    }
}

void Repository::Load(const mof::Document& document) {
    RepositoryLoader loader(*this, document.file);
    for (const mof::Declaration& declaration : document.declarations) {
        std::visit([&loader](const auto& declared) { loader.Load(declared); }, declaration);
    }
}

void Repository::LoadMof(std::string_view text, const std::string& file) { Load(mof::Parse(text, file)); }

}  // namespace velkhost
