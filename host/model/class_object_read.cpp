// What a class object tells about itself: values, system properties, names, qualifiers, text.

#include <array>
#include <utility>

#include "common/wbem_status.h"
#include "host/model/class_object.h"
#include "host/model/qualifier_set.h"

namespace velkhost {

namespace {

/// In the order in which WMI enumerates them.
constexpr std::array<const wchar_t*, 10> kSystemProperties = {
    L"__GENUS",          L"__CLASS",      L"__SUPERCLASS", L"__DYNASTY",   L"__RELPATH",
    L"__PROPERTY_COUNT", L"__DERIVATION", L"__SERVER",     L"__NAMESPACE", L"__PATH"};

Value TextOrNull(const std::optional<std::wstring>& text) { return text ? Value::Text(*text) : Value(); }

Value TextOrNull(bool isThere, const std::wstring& text) { return isThere ? Value::Text(text) : Value(); }

Value SystemValue(const ClassObject& object, std::wstring_view name) {
    const ClassDef& definition = object.Class();
    const bool isPlaced = !(object.IsInstance() && definition.lacksKeys);
    if (SameName(name, L"__GENUS")) return Value::Signed(object.IsInstance() ? 2 : 1);
    if (SameName(name, L"__CLASS")) return Value::Text(definition.name);
    if (SameName(name, L"__SUPERCLASS")) {
        return definition.derivation.empty() ? Value() : Value::Text(definition.derivation.front());
    }
    if (SameName(name, L"__DYNASTY")) {
        return Value::Text(definition.derivation.empty() ? definition.name : definition.derivation.back());
    }
    if (SameName(name, L"__RELPATH")) return TextOrNull(object.RelativePath());
    if (SameName(name, L"__PROPERTY_COUNT")) {
        return Value::Signed(static_cast<std::int64_t>(definition.properties.size()));
    }
    if (SameName(name, L"__SERVER")) return TextOrNull(isPlaced, definition.server);
    if (SameName(name, L"__NAMESPACE")) return TextOrNull(isPlaced, definition.nameSpace);
    if (SameName(name, L"__PATH")) return TextOrNull(object.FullPath());
    Value::List derivation;
    for (const std::wstring& ancestor : definition.derivation) derivation.push_back(Value::Text(ancestor));
    return Value::Array(std::move(derivation));
}

CimType SystemType(std::wstring_view name) {
    if (SameName(name, L"__GENUS") || SameName(name, L"__PROPERTY_COUNT")) return {Cim::kSInt32};
    return {Cim::kString, SameName(name, L"__DERIVATION")};
}

bool IsSystemProperty(std::wstring_view name) {
    for (const wchar_t* known : kSystemProperties) {
        if (SameName(known, name)) return true;
    }
    return false;
}

std::wstring QualifierText(const QualifierList& qualifiers) {
    std::wstring text;
    for (const QualifierDef& qualifier : qualifiers) {
        // The declaration's type keyword says it already.
        if (SameName(qualifier.name, L"CIMTYPE")) continue;
        text += text.empty() ? L"[" : L", ";
        text += qualifier.name;
        if (qualifier.value.As<bool>() != nullptr && *qualifier.value.As<bool>()) continue;
        text += qualifier.type.isArray ? ToMof(qualifier.value) : L"(" + ToMof(qualifier.value) + L")";
    }
    return text.empty() ? text : text + L"]";
}

std::wstring TypeText(const PropertyDef& property) {
    if (property.type.element != Cim::kReference) return std::wstring(CimKeyword(property.type.element));
    const QualifierDef* cimType = FindQualifier(property.qualifiers, L"CIMTYPE");
    const std::wstring written = cimType == nullptr ? std::wstring() : ToText(cimType->value);
    return (written.size() > 4 ? written.substr(4) : L"object") + L" ref";  // "ref:Class"
}

std::wstring ClassText(const ClassDef& definition) {
    std::wstring text = L"\n";
    const std::wstring classQualifiers = QualifierText(definition.qualifiers);
    if (!classQualifiers.empty()) text += classQualifiers + L"\n";
    text += L"class " + definition.name;
    if (!definition.derivation.empty()) text += L" : " + definition.derivation.front();
    text += L"\n{\n";
    for (const PropertyDef& property : definition.properties) {
        if (!SameName(property.origin, definition.name)) continue;
        const std::wstring qualifiers = QualifierText(property.qualifiers);
        text += L"\t" + qualifiers + (qualifiers.empty() ? L"" : L" ") + TypeText(property) + L" " +
                property.name + (property.type.isArray ? L"[]" : L"");
        if (!property.initial.IsNull()) text += L" = " + ToMof(property.initial);
        text += L";\n";
    }
    return text + L"};\n";
}

std::wstring InstanceText(const ClassObject& object) {
    std::wstring text = L"\ninstance of " + object.Class().name + L"\n{\n";
    for (std::size_t i = 0; i < object.Class().properties.size(); ++i) {
        if (object.At(i).IsNull()) continue;
        text += L"\t" + object.Class().properties[i].name + L" = " + ToMof(object.At(i)) + L";\n";
    }
    return text + L"};\n";
}

}  // namespace

ClassObject::Answer ClassObject::AnswerFor(std::size_t index) const {
    const PropertyDef& property = definition_->properties[index];
    const bool isOwn =
        IsInstance() ? values_[index].has_value() : SameName(property.origin, definition_->name);
    const LONG origin = isOwn ? WBEM_FLAVOR_ORIGIN_LOCAL : WBEM_FLAVOR_ORIGIN_PROPAGATED;
    return {ToVariant(property.type, At(index)), property.type.Number(), origin};
}

std::optional<ClassObject::Answer> ClassObject::SystemAnswer(std::wstring_view name) const {
    if (!IsSystemProperty(name)) return std::nullopt;
    const CimType type = SystemType(name);
    return Answer{ToVariant(type, SystemValue(*this, name)), type.Number(), WBEM_FLAVOR_ORIGIN_SYSTEM};
}

std::optional<ClassObject::Answer> ClassObject::Find(std::wstring_view name) const {
    if (name.starts_with(L"__")) return SystemAnswer(name);
    const std::size_t index = definition_->IndexOf(name);
    if (index == ClassDef::kNone) return std::nullopt;
    return AnswerFor(index);
}

HRESULT ClassObject::Get(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE* type, LONG* flavor) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr || flags != 0) return velk::kWbemInvalidParameter;
        std::optional<Answer> answer = Find(name);
        if (!answer) return velk::kWbemNotFound;
        if (value != nullptr) *value = std::exchange(*answer->value.Address(), VARIANT{});
        if (type != nullptr) *type = answer->type;
        if (flavor != nullptr) *flavor = answer->flavor;
        return velk::kWbemNoError;
    });
}

bool ClassObject::FitsFlags(std::size_t index, LONG flags) const {
    const PropertyDef& property = definition_->properties[index];
    if ((flags & WBEM_FLAG_KEYS_ONLY) != 0 && !property.isKey) return false;
    if ((flags & WBEM_FLAG_REFS_ONLY) != 0 && property.type.element != Cim::kReference) return false;
    const LONG origin = flags & WBEM_MASK_CONDITION_ORIGIN;
    if (origin == WBEM_FLAG_SYSTEM_ONLY) return false;
    const bool isOwn = SameName(property.origin, definition_->name);
    if (origin == WBEM_FLAG_LOCAL_ONLY) return isOwn;
    if (origin == WBEM_FLAG_PROPAGATED_ONLY) return !isOwn;
    return true;
}

std::vector<std::wstring> ClassObject::NamesFor(LONG flags) const {
    std::vector<std::wstring> names;
    const LONG origin = flags & WBEM_MASK_CONDITION_ORIGIN;
    const bool isNarrowed = (flags & (WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY)) != 0;
    if (origin == WBEM_FLAG_SYSTEM_ONLY || (origin == 0 && !isNarrowed)) {
        names.assign(kSystemProperties.begin(), kSystemProperties.end());
    }
    for (std::size_t i = 0; i < definition_->properties.size(); ++i) {
        if (FitsFlags(i, flags)) names.push_back(definition_->properties[i].name);
    }
    return names;
}

HRESULT ClassObject::GetNames(LPCWSTR qualifier, LONG flags, VARIANT* qualifierValue,
                              SAFEARRAY** names) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const LONG known = WBEM_MASK_PRIMARY_CONDITION | WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY |
                           WBEM_MASK_CONDITION_ORIGIN;
        const LONG condition = flags & WBEM_MASK_PRIMARY_CONDITION;
        if (names == nullptr || (flags & ~known) != 0) return velk::kWbemInvalidParameter;
        if (condition != WBEM_FLAG_ALWAYS && qualifier == nullptr) return velk::kWbemInvalidParameter;
        if (condition == WBEM_FLAG_ONLY_IF_IDENTICAL && qualifierValue == nullptr) {
            return velk::kWbemInvalidParameter;
        }
        std::vector<std::wstring> wanted;
        for (std::wstring& name : NamesFor(flags)) {
            const PropertyDef* property = definition_->Find(name);
            const QualifierDef* found = property == nullptr || qualifier == nullptr
                                            ? nullptr
                                            : FindQualifier(property->qualifiers, qualifier);
            Value compared;
            const bool fits =
                condition == WBEM_FLAG_ALWAYS || (condition == WBEM_FLAG_ONLY_IF_TRUE && found != nullptr) ||
                (condition == WBEM_FLAG_ONLY_IF_FALSE && found == nullptr) ||
                (condition == WBEM_FLAG_ONLY_IF_IDENTICAL && found != nullptr &&
                 SUCCEEDED(FromVariant(found->type, *qualifierValue, compared)) && compared == found->value);
            if (fits) wanted.push_back(std::move(name));
        }
        *names = MakeNameArray(wanted);
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::GetQualifierSet(IWbemQualifierSet** qualifiers) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (qualifiers == nullptr) return velk::kWbemInvalidParameter;
        *qualifiers = MakeComObject<QualifierSet>(definition_->qualifiers).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::GetPropertyQualifierSet(LPCWSTR name, IWbemQualifierSet** qualifiers) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr || qualifiers == nullptr) return velk::kWbemInvalidParameter;
        if (IsSystemProperty(name)) return static_cast<HRESULT>(WBEM_E_SYSTEM_PROPERTY);
        const PropertyDef* property = definition_->Find(name);
        if (property == nullptr) return velk::kWbemNotFound;
        *qualifiers = MakeComObject<QualifierSet>(property->qualifiers).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::GetPropertyOrigin(LPCWSTR name, BSTR* className) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr || className == nullptr) return velk::kWbemInvalidParameter;
        const PropertyDef* property = definition_->Find(name);
        if (property == nullptr && !IsSystemProperty(name)) return velk::kWbemNotFound;
        *className = velk::Bstr(property == nullptr ? L"___SYSTEM" : property->origin).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::GetObjectText(LONG flags, BSTR* text) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (text == nullptr || (flags != 0 && flags != WBEM_FLAG_NO_FLAVORS)) {
            return velk::kWbemInvalidParameter;
        }
        *text = velk::Bstr(IsInstance() ? InstanceText(*this) : ClassText(*definition_)).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::CompareTo(LONG flags, IWbemClassObject* other) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const ClassObject* with = From(other);
        if (with == nullptr) return velk::kWbemInvalidParameter;
        const ClassDef& left = *definition_;
        const ClassDef& right = with->Class();
        const bool hasSameSource =
            (flags & WBEM_FLAG_IGNORE_OBJECT_SOURCE) != 0 ||
            (SameName(left.server, right.server) && SameName(left.nameSpace, right.nameSpace));
        const bool hasSameClass = (flags & WBEM_FLAG_IGNORE_CLASS) != 0 || SameName(left.name, right.name);
        if (!hasSameSource || !hasSameClass || IsInstance() != with->IsInstance() ||
            left.properties.size() != right.properties.size()) {
            return WBEM_S_DIFFERENT;
        }
        const bool ignoresValues = !IsInstance() && (flags & WBEM_FLAG_IGNORE_DEFAULT_VALUES) != 0;
        for (std::size_t i = 0; i < left.properties.size(); ++i) {
            const std::size_t opposite = right.IndexOf(left.properties[i].name);
            if (opposite == ClassDef::kNone || left.properties[i].type != right.properties[opposite].type) {
                return WBEM_S_DIFFERENT;
            }
            const Value& mine = At(i);
            const Value& its = with->At(opposite);
            const auto* myText = mine.As<std::wstring>();
            const auto* itsText = its.As<std::wstring>();
            const bool areSame =
                myText != nullptr && itsText != nullptr && (flags & WBEM_FLAG_IGNORE_CASE) != 0
                    ? SameName(*myText, *itsText)
                    : mine == its;
            if (!areSame && !ignoresValues) return WBEM_S_DIFFERENT;
        }
        return WBEM_S_SAME;
    });
}

HRESULT ClassObject::GetMethod(LPCWSTR, LONG, IWbemClassObject**, IWbemClassObject**) noexcept {
    return velk::kWbemNotFound;
}
HRESULT ClassObject::PutMethod(LPCWSTR, LONG, IWbemClassObject*, IWbemClassObject*) noexcept {
    return velk::kWbemNotSupported;
}
HRESULT ClassObject::DeleteMethod(LPCWSTR) noexcept { return velk::kWbemNotFound; }
HRESULT ClassObject::BeginMethodEnumeration(LONG) noexcept { return velk::kWbemNoError; }
HRESULT ClassObject::NextMethod(LONG, BSTR*, IWbemClassObject**, IWbemClassObject**) noexcept {
    return WBEM_S_NO_MORE_DATA;
}
HRESULT ClassObject::EndMethodEnumeration() noexcept { return velk::kWbemNoError; }
HRESULT ClassObject::GetMethodQualifierSet(LPCWSTR, IWbemQualifierSet**) noexcept {
    return velk::kWbemNotFound;
}
HRESULT ClassObject::GetMethodOrigin(LPCWSTR, BSTR*) noexcept { return velk::kWbemNotFound; }

}  // namespace velkhost
