#include "host/model/class_object.h"

#include <algorithm>
#include <utility>

#include "common/wbem_status.h"
#include "host/model/qualifier_set.h"
#include "host/path/object_path.h"

namespace velkhost {

namespace {

constexpr HRESULT kUnexpected = static_cast<HRESULT>(WBEM_E_UNEXPECTED);

/// Identifies the host's own objects among all that implement IWbemClassObject; never leaves the process.
constexpr IID kClassObjectId = {0x6f0b1c5e, 0x93a7, 0x4d42, {0x8e, 0x1d, 0x27, 0xc4, 0x90, 0x5b, 0xe3, 0x16}};

PathKeyValue ToPathKeyValue(const Value& value) {
    if (const auto* truth = value.As<bool>()) return *truth;
    if (const auto* number = value.As<std::int64_t>()) return *number;
    if (const auto* number = value.As<std::uint64_t>()) {
        if (*number <= static_cast<std::uint64_t>(INT64_MAX)) return static_cast<std::int64_t>(*number);
        return *number;
    }
    return ToText(value);
}

ObjectPath NamespacePath(const ClassDef& definition) {
    ObjectPath path;
    path.server = definition.server;
    std::size_t begin = 0;
    while (begin < definition.nameSpace.size()) {
        const std::size_t end =
            std::min(definition.nameSpace.find(L'\\', begin), definition.nameSpace.size());
        path.namespaces.push_back(definition.nameSpace.substr(begin, end - begin));
        begin = end + 1;
    }
    return path;
}

/// Class and keys of an object, the keys in alphabetical order as WMI writes them; nothing when a key has no
/// value or was not selected.
std::optional<ObjectPath> ObjectPathOf(const ClassObject& object) {
    const ClassDef& definition = object.Class();
    ObjectPath path = NamespacePath(definition);
    path.className = definition.name;
    if (!object.IsInstance()) return path;
    if (definition.lacksKeys) return std::nullopt;
    for (std::size_t i = 0; i < definition.properties.size(); ++i) {
        if (!definition.properties[i].isKey) continue;
        if (object.At(i).IsNull()) return std::nullopt;
        path.keys.push_back({definition.properties[i].name, ToPathKeyValue(object.At(i))});
    }
    std::sort(path.keys.begin(), path.keys.end(), [](const PathKey& left, const PathKey& right) {
        return ::CompareStringOrdinal(left.name.c_str(), -1, right.name.c_str(), -1, TRUE) == CSTR_LESS_THAN;
    });
    path.singleton = path.keys.empty();
    return path;
}

}  // namespace

ClassObject::ClassObject(ClassPtr definition, Genus genus, Values values)
    : definition_(std::move(definition)), genus_(genus), values_(std::move(values)) {
    if (IsInstance()) values_.resize(definition_->properties.size());
}

ClassObject* ClassObject::From(IWbemClassObject* object) {
    if (object == nullptr) return nullptr;
    velk::ComPtr<ClassObject> own;
    if (FAILED(object->QueryInterface(kClassObjectId, own.PutVoid()))) return nullptr;
    return own.Get();
}

HRESULT ClassObject::QueryInterface(REFIID iid, void** object) noexcept {
    if (object == nullptr || !::IsEqualIID(iid, kClassObjectId)) {
        return ComObject<IWbemClassObject>::QueryInterface(iid, object);
    }
    *object = this;
    AddRef();
    return S_OK;
}

const Value& ClassObject::At(std::size_t index) const {
    if (IsInstance() && values_[index]) return *values_[index];
    return definition_->properties[index].initial;
}

void ClassObject::Set(std::size_t index, Value value) { values_[index] = std::move(value); }

std::optional<std::wstring> ClassObject::RelativePath() const {
    const auto path = ObjectPathOf(*this);
    return path ? std::optional(FormatRelativePath(*path)) : std::nullopt;
}

std::optional<std::wstring> ClassObject::FullPath() const {
    const auto path = ObjectPathOf(*this);
    return path ? std::optional(FormatFullPath(*path)) : std::nullopt;
}

HRESULT ClassObject::Put(LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE type) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr || flags != 0) return velk::kWbemInvalidParameter;
        if (std::wstring_view(name).starts_with(L"__")) {
            return SystemAnswer(name) ? static_cast<HRESULT>(WBEM_E_READ_ONLY) : velk::kWbemNotFound;
        }
        return IsInstance() ? PutOnInstance(name, value, type) : PutOnClass(name, value, type);
    });
}

HRESULT ClassObject::PutOnInstance(LPCWSTR name, const VARIANT* value, CIMTYPE type) {
    // An instance's types are its class's.
    if (type != 0) return velk::kWbemInvalidParameter;
    const std::size_t index = definition_->IndexOf(name);
    if (index == ClassDef::kNone) return velk::kWbemNotFound;
    Value taken;
    if (value != nullptr) {
        const HRESULT result = FromVariant(definition_->properties[index].type, *value, taken);
        if (FAILED(result)) return result;
    }
    Set(index, std::move(taken));
    return velk::kWbemNoError;
}

// The object changes a definition of its own: the repository's one, and the instances spawned so far, keep
// theirs.
HRESULT ClassObject::PutOnClass(LPCWSTR name, const VARIANT* value, CIMTYPE type) {
    const std::size_t index = definition_->IndexOf(name);
    const bool isNew = index == ClassDef::kNone;
    std::optional<CimType> cimType;
    if (type != 0) {
        cimType = CimFromNumber(type);
        if (!cimType) return static_cast<HRESULT>(WBEM_E_INVALID_PROPERTY_TYPE);
    } else if (isNew) {
        return static_cast<HRESULT>(WBEM_E_INVALID_PROPERTY_TYPE);
    } else {
        cimType = definition_->properties[index].type;
    }
    Value taken;
    if (value != nullptr) {
        const HRESULT result = FromVariant(*cimType, *value, taken);
        if (FAILED(result)) return result;
    }

    auto changed = std::make_shared<ClassDef>(*definition_);
    PropertyDef& property = isNew ? changed->properties.emplace_back() : changed->properties[index];
    if (isNew) {
        property.name = name;
        property.origin = changed->name;
    }
    if (isNew || property.type != *cimType) {
        property.qualifiers = {
            {L"CIMTYPE", {Cim::kString}, Value::Text(std::wstring(CimKeyword(cimType->element))), 0}};
    }
    property.type = *cimType;
    property.initial = std::move(taken);
    definition_ = std::move(changed);
    return velk::kWbemNoError;
}

HRESULT ClassObject::Delete(LPCWSTR name) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (name == nullptr) return velk::kWbemInvalidParameter;
        if (SystemAnswer(name)) return static_cast<HRESULT>(WBEM_E_SYSTEM_PROPERTY);
        const std::size_t index = definition_->IndexOf(name);
        if (index == ClassDef::kNone) return velk::kWbemNotFound;
        if (IsInstance()) {
            // Only the instance's own value goes: the class's shows again.
            values_[index].reset();
            return WBEM_S_RESET_TO_DEFAULT;
        }
        if (!SameName(definition_->properties[index].origin, definition_->name)) {
            return static_cast<HRESULT>(WBEM_E_PROPAGATED_PROPERTY);
        }
        auto changed = std::make_shared<ClassDef>(*definition_);
        changed->properties.erase(changed->properties.begin() + static_cast<std::ptrdiff_t>(index));
        definition_ = std::move(changed);
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::SpawnInstance(LONG flags, IWbemClassObject** instance) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0 || instance == nullptr) return velk::kWbemInvalidParameter;
        *instance = nullptr;
        // Spawned of an instance, the values of the class do not show.
        Values values;
        if (IsInstance()) values.resize(definition_->properties.size(), Value());
        *instance = MakeComObject<ClassObject>(definition_, Genus::kInstance, std::move(values)).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::Clone(IWbemClassObject** copy) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (copy == nullptr) return velk::kWbemInvalidParameter;
        *copy = MakeComObject<ClassObject>(definition_, genus_, values_).Detach();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::SpawnDerivedClass(LONG, IWbemClassObject**) noexcept { return velk::kWbemNotSupported; }

HRESULT ClassObject::InheritsFrom(LPCWSTR ancestor) noexcept {
    if (ancestor == nullptr) return velk::kWbemInvalidParameter;
    return definition_->IsA(ancestor) ? velk::kWbemNoError : velk::kWbemFalse;
}

HRESULT ClassObject::BeginEnumeration(LONG flags) noexcept {
    return GuardedCall([&]() -> HRESULT {
        const LONG known = WBEM_FLAG_KEYS_ONLY | WBEM_FLAG_REFS_ONLY | WBEM_MASK_CONDITION_ORIGIN;
        if ((flags & ~known) != 0) return velk::kWbemInvalidParameter;
        pending_ = NamesFor(flags);
        std::reverse(pending_.begin(), pending_.end());
        enumerating_ = true;
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::Next(LONG flags, BSTR* name, VARIANT* value, CIMTYPE* type, LONG* flavor) noexcept {
    return GuardedCall([&]() -> HRESULT {
        if (flags != 0) return velk::kWbemInvalidParameter;
        if (!enumerating_) return kUnexpected;
        if (name != nullptr) *name = nullptr;
        if (pending_.empty()) return WBEM_S_NO_MORE_DATA;
        velk::Bstr nameText(pending_.back());
        const HRESULT result = Get(nameText.Get(), 0, value, type, flavor);
        if (FAILED(result)) return result;
        if (name != nullptr) *name = nameText.Detach();
        pending_.pop_back();
        return velk::kWbemNoError;
    });
}

HRESULT ClassObject::EndEnumeration() noexcept {
    enumerating_ = false;
    pending_.clear();
    return velk::kWbemNoError;
}

velk::ComPtr<ClassObject> MakeClass(ClassPtr definition) {
    return MakeComObject<ClassObject>(std::move(definition), ClassObject::Genus::kClass,
                                      ClassObject::Values{});
}

velk::ComPtr<ClassObject> MakeInstance(ClassPtr definition) {
    return MakeComObject<ClassObject>(std::move(definition), ClassObject::Genus::kInstance,
                                      ClassObject::Values{});
}

velk::ComPtr<ClassObject> ProjectInstance(const ClassObject& whole, ClassPtr projection) {
    auto projected = MakeInstance(std::move(projection));
    const ClassDef& selected = projected->Class();
    for (std::size_t i = 0; i < selected.properties.size(); ++i) {
        const std::size_t source = whole.Class().IndexOf(selected.properties[i].name);
        if (source != ClassDef::kNone) projected->Set(i, whole.At(source));
    }
    return projected;
}

}  // namespace velkhost
