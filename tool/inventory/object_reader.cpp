#include "tool/inventory/object_reader.h"

#include <algorithm>

#include "common/bstr.h"
#include "common/wbem_status.h"
#include "tool/inventory/names.h"

namespace velkpci {
namespace {

using velkhost::CimFromNumber;
using velkhost::QualifierDef;
using velkhost::QualifierList;

std::wstring SystemText(IWbemClassObject& object, const wchar_t* name) {
    velk::Variant value;
    const HRESULT result = object.Get(name, 0, value.Put(), nullptr, nullptr);
    return SUCCEEDED(result) && value.Type() == VT_BSTR ? std::wstring(value.Text()) : std::wstring();
}

std::vector<std::wstring> SystemTexts(IWbemClassObject& object, const wchar_t* name) {
    velk::Variant value;
    Value texts;
    std::vector<std::wstring> out;
    if (FAILED(object.Get(name, 0, value.Put(), nullptr, nullptr))) return out;
    if (FAILED(velkhost::FromVariant({Cim::kString, true}, value.Get(), texts))) return out;
    if (const auto* list = texts.As<Value::List>()) {
        for (const Value& text : *list) out.push_back(velkhost::ToText(text));
    }
    return out;
}

bool IsClass(IWbemClassObject& object) {
    velk::Variant genus;
    return SUCCEEDED(object.Get(L"__GENUS", 0, genus.Put(), nullptr, nullptr)) && genus.Type() == VT_I4 &&
           genus.Get().lVal == WBEM_GENUS_CLASS;
}

/// Qualifiers carry no CIM type of their own: WMI has these alone.
CimType TypeOfQualifier(VARTYPE type) {
    const bool isArray = (type & VT_ARRAY) != 0;
    switch (type & VT_TYPEMASK) {
        case VT_BOOL:
            return {Cim::kBoolean, isArray};
        case VT_I4:
            return {Cim::kSInt32, isArray};
        case VT_R8:
            return {Cim::kReal64, isArray};
        default:
            return {Cim::kString, isArray};
    }
}

QualifierList ReadQualifiers(IWbemQualifierSet& set) {
    QualifierList out;
    if (FAILED(set.BeginEnumeration(0))) return out;
    for (;;) {
        velk::Bstr name;
        velk::Variant variant;
        LONG flavor = 0;
        if (set.Next(0, name.Put(), variant.Put(), &flavor) != velk::kWbemNoError) break;
        QualifierDef qualifier{std::wstring(name.View()), TypeOfQualifier(variant.Type()), {}, flavor};
        if (SUCCEEDED(velkhost::FromVariant(qualifier.type, variant.Get(), qualifier.value)))
            out.push_back(std::move(qualifier));
    }
    set.EndEnumeration();
    return out;
}

QualifierList QualifiersOf(IWbemClassObject& object, const std::wstring& property) {
    velk::ComPtr<IWbemQualifierSet> set;
    const HRESULT result = property.empty() ? object.GetQualifierSet(set.Put())
                                            : object.GetPropertyQualifierSet(property.c_str(), set.Put());
    return SUCCEEDED(result) && set ? ReadQualifiers(*set) : QualifierList();
}

/// The names of the properties, without WMI's own.
HRESULT PropertyNames(IWbemClassObject& object, std::vector<std::wstring>& out) {
    SAFEARRAY* raw = nullptr;
    const HRESULT result =
        object.GetNames(nullptr, WBEM_FLAG_ALWAYS | WBEM_FLAG_NONSYSTEM_ONLY, nullptr, &raw);
    if (FAILED(result)) return result;
    const velk::Variant names = velk::Variant::Array(VT_BSTR, velk::UniqueSafeArray(raw));
    Value list;
    const HRESULT read = velkhost::FromVariant({Cim::kString, true}, names.Get(), list);
    if (FAILED(read)) return read;
    for (const Value& name : *list.As<Value::List>()) out.push_back(velkhost::ToText(name));
    return read;
}

HRESULT ReadValue(IWbemClassObject& object, const PropertyDef& property, Value& out) {
    velk::Variant variant;
    const HRESULT result = object.Get(property.name.c_str(), 0, variant.Put(), nullptr, nullptr);
    return FAILED(result) ? result : velkhost::FromVariant(property.type, variant.Get(), out);
}

HRESULT ReadProperty(IWbemClassObject& object, const std::wstring& name, PropertyDef& out) {
    velk::Variant initial;
    CIMTYPE number = 0;
    const HRESULT result = object.Get(name.c_str(), 0, initial.Put(), &number, nullptr);
    if (FAILED(result)) return result;
    const auto type = CimFromNumber(number);
    if (!type) return static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    out.name = name;
    out.type = *type;
    out.qualifiers = QualifiersOf(object, name);
    const QualifierDef* key = FindQualifier(out.qualifiers, L"key");
    const bool* isKey = key == nullptr ? nullptr : key->value.As<bool>();
    out.isKey = isKey != nullptr && *isKey;
    return velkhost::FromVariant(out.type, initial.Get(), out.initial);
}

HRESULT ReadDefinition(IWbemClassObject& object, ClassDef& out) {
    out.server = SystemText(object, L"__SERVER");
    out.nameSpace = SystemText(object, L"__NAMESPACE");
    out.name = SystemText(object, L"__CLASS");
    out.derivation = SystemTexts(object, L"__DERIVATION");
    out.qualifiers = QualifiersOf(object, {});
    std::vector<std::wstring> names;
    HRESULT result = PropertyNames(object, names);
    for (std::size_t i = 0; SUCCEEDED(result) && i < names.size(); ++i) {
        PropertyDef property;
        result = ReadProperty(object, names[i], property);
        out.properties.push_back(std::move(property));
    }
    return result;
}

bool HasProperties(const ClassDef& definition, const std::vector<std::wstring>& names) {
    return definition.properties.size() == names.size() &&
           std::all_of(names.begin(), names.end(),
                       [&](const std::wstring& name) { return definition.IndexOf(name) != ClassDef::kNone; });
}

}  // namespace

HRESULT ObjectReader::Definition(const std::wstring& className, ClassPtr& out) {
    const std::wstring key = LowerName(className);
    if (const auto found = definitions_.find(key); found != definitions_.end()) {
        out = found->second;
        return velk::kWbemNoError;
    }
    const velk::Bstr path(className);
    velk::ComPtr<IWbemClassObject> object;
    // Where texts of value maps are kept apart, by language, this puts them back.
    const HRESULT result =
        services_.GetObject(path.Get(), WBEM_FLAG_USE_AMENDED_QUALIFIERS, nullptr, object.Put(), nullptr);
    if (FAILED(result)) return result;
    // The path of an instance is no class.
    if (!IsClass(*object)) return static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
    auto definition = std::make_shared<ClassDef>();
    const HRESULT read = ReadDefinition(*object, *definition);
    if (SUCCEEDED(read)) out = definitions_[key] = std::move(definition);
    return read;
}

HRESULT ObjectReader::DefinitionOf(IWbemClassObject& object, ClassPtr& out) {
    const HRESULT result = Definition(SystemText(object, L"__CLASS"), out);
    if (FAILED(result)) return result;
    std::vector<std::wstring> names;
    const HRESULT listed = PropertyNames(object, names);
    if (FAILED(listed) || HasProperties(*out, names)) return listed;
    const bool isAsBefore =
        projection_ && SameName(projection_->name, out->name) && HasProperties(*projection_, names);
    if (!isAsBefore) projection_ = velkhost::ProjectClass(out, names);
    out = projection_;
    return listed;
}

HRESULT ObjectReader::Read(IWbemClassObject& object, InstancePtr& out) {
    auto read = std::make_shared<Instance>();
    HRESULT result = DefinitionOf(object, read->definition);
    if (FAILED(result)) return result;
    read->isClass = IsClass(object);
    read->path = SystemText(object, L"__PATH");
    read->relativePath = SystemText(object, L"__RELPATH");
    for (const PropertyDef& property : read->definition->properties) {
        Value value;
        result = ReadValue(object, property, value);
        if (FAILED(result)) return result;
        read->values.push_back(std::move(value));
    }
    out = std::move(read);
    return result;
}

}  // namespace velkpci
