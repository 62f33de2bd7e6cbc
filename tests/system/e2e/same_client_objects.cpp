// What is asked of enumerators, and of the objects that they hand out.

#include <map>
#include <utility>
#include <vector>

#include "same_client.h"

namespace same_client {

ULONG Client::Count(IEnumWbemClassObject& enumerator) {
    ULONG count = 0;
    for (;; ++count) {
        Object object;
        ULONG returned = 0;
        if (enumerator.Next(kPatience, 1, object.Put(), &returned) != S_OK) break;
    }
    enumerator.Reset();
    return count;
}

std::string Client::NextOutcome(IEnumWbemClassObject& enumerator, ULONG count) {
    std::vector<IWbemClassObject*> objects(count + 1, nullptr);
    ULONG returned = 0;
    const HRESULT status = enumerator.Next(kPatience, count, objects.data(), &returned);
    std::size_t delivered = 0;
    for (IWbemClassObject* object : objects) {
        if (object == nullptr) continue;
        ++delivered;
        object->Release();
    }
    const bool told = delivered == returned;
    return Hex(status) + " " + (returned == count ? "as many as asked" : Amount(returned)) +
           (told ? "" : ", another number told");
}

void Client::AskEnumerators() {
    Enumerator found;
    Tell("CreateInstanceEnum", Hex(All(0, found)));
    const ULONG total = Count(*found);
    Tell("Next: two", NextOutcome(*found, 2));
    Tell("Next: more than are left", NextOutcome(*found, total + 1).substr(0, 8));
    Tell("Next: behind the end", NextOutcome(*found, 1));
    Tell("Reset", Hex(found->Reset()));
    Tell("Next: all, after Reset", NextOutcome(*found, total));
    Tell("Next: behind all", NextOutcome(*found, 1));
    found->Reset();
    Tell("Next: more than all", NextOutcome(*found, total + 5));
    found->Reset();
    Tell("Next: none", NextOutcome(*found, 0));
    IWbemClassObject* object = nullptr;
    ULONG returned = 0;
    const HRESULT uncounted = found->Next(kPatience, 1, &object, nullptr);
    if (object != nullptr) object->Release();
    Tell("Next: no place for the number", Hex(uncounted));
    Tell("Next: no place for the objects", Hex(found->Next(kPatience, 1, nullptr, &returned)));
    found->Reset();
    Tell("Skip: one", Hex(found->Skip(kPatience, 1)));
    Tell("Skip: more than are left", Hex(found->Skip(kPatience, total)));
    found->Reset();
    Tell("Skip: none", Hex(found->Skip(kPatience, 0)));
    Enumerator copy;
    Tell("Clone", Hex(found->Clone(copy.Put())));
    Tell("CreateInstanceEnum: unknown class",
         Hex(services_.CreateInstanceEnum(Bstr(L"Velk_Nothing").Get(), 0, nullptr, found.Put())));
    All(kForwardOnly, found);
    Tell("forward only: Next: two", NextOutcome(*found, 2));
    Tell("forward only: Reset", Hex(found->Reset()));
    Tell("forward only: Clone", Hex(found->Clone(copy.Put())));
}

void Client::TellProperty(const std::string& operation, IWbemClassObject& object, const wchar_t* name) {
    velk::Variant value;
    CIMTYPE type = -1;
    LONG flavor = -1;
    const HRESULT status = object.Get(name, 0, value.Put(), &type, &flavor);
    if (FAILED(status)) return Tell(operation, Hex(status));
    Tell(operation, "CIM " + std::to_string(type) + ", VARIANT " + std::to_string(value.Type()) +
                        ", flavor " + std::to_string(flavor));
}

void Client::AskSystemProperties() {
    for (const wchar_t* name :
         {L"__GENUS", L"__CLASS", L"__SUPERCLASS", L"__DYNASTY", L"__RELPATH", L"__PROPERTY_COUNT",
          L"__DERIVATION", L"__SERVER", L"__NAMESPACE", L"__PATH"}) {
        TellProperty("instance: " + Narrow(name), *first_, name);
        TellProperty("class: " + Narrow(name), *class_, name);
    }
    Tell("instance: __GENUS is", TextOf(*first_, L"__GENUS"));
    Tell("class: __GENUS is", TextOf(*class_, L"__GENUS"));
    Tell("instance: __class in lower case is",
         WideOf(*first_, L"__class") == name_ ? "the class" : TextOf(*first_, L"__class"));
    Tell("class: __RELPATH is", WideOf(*class_, L"__RELPATH") == name_ ? "the class" : "something else");
    TellProperty("instance: unknown system property", *first_, L"__NOTHING");
}

void Client::AskProperties() {
    TellProperty("Get: a text", *first_, text_.c_str());
    TellProperty("Get: a boolean", *first_, boolean_.c_str());
    TellProperty("Get: unknown property", *first_, L"Nothing");
    const std::pair<const char*, LONG> choices[] = {
        {"all", 0},
        {"own alone", WBEM_FLAG_NONSYSTEM_ONLY},
        {"system alone", WBEM_FLAG_SYSTEM_ONLY},
        {"of the class itself", WBEM_FLAG_LOCAL_ONLY},
        {"inherited", WBEM_FLAG_PROPAGATED_ONLY},
        {"keys", WBEM_FLAG_KEYS_ONLY},
        {"system and own", WBEM_FLAG_SYSTEM_ONLY | WBEM_FLAG_NONSYSTEM_ONLY}};
    for (const auto& [operation, flags] : choices) {
        const HRESULT begun = first_->BeginEnumeration(flags);
        std::string order;
        HRESULT status = E_PENDING;
        for (;;) {
            Bstr name;
            velk::Variant value;
            CIMTYPE type = 0;
            LONG flavor = 0;
            status = first_->Next(0, name.Put(), value.Put(), &type, &flavor);
            if (status != WBEM_S_NO_ERROR) break;
            const char kind = name.View().substr(0, 2) == L"__" ? 's' : 'p';
            if (order.empty() || order.back() != kind) order += kind;
        }
        Tell(std::string("BeginEnumeration: ") + operation,
             Hex(begun) + ", " + order + ", end " + Hex(status));
        Tell(std::string("EndEnumeration: ") + operation, Hex(first_->EndEnumeration()));
    }
    Tell("Next without BeginEnumeration", Hex(first_->Next(0, nullptr, nullptr, nullptr, nullptr)));
    first_->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    Tell("Next with no place for anything", Hex(first_->Next(0, nullptr, nullptr, nullptr, nullptr)));
    first_->EndEnumeration();
    velk::Variant value;
    Tell("InheritsFrom: the class", Hex(first_->InheritsFrom(name_.c_str())));
    Tell("InheritsFrom: unknown class", Hex(first_->InheritsFrom(L"Velk_Nothing")));
    Object made;
    Bstr mof;
    Tell("SpawnInstance of the class", Hex(class_->SpawnInstance(0, made.Put())));
    Tell("Clone of the instance", Hex(first_->Clone(made.Put())));
    Tell("GetObjectText of the instance", Hex(first_->GetObjectText(0, mof.Put())));
    velk::ComPtr<IWbemQualifierSet> qualifiers;
    Tell("GetQualifierSet", Hex(first_->GetQualifierSet(qualifiers.Put())));
    Tell("GetPropertyQualifierSet: a text",
         Hex(first_->GetPropertyQualifierSet(text_.c_str(), qualifiers.Put())));
    Tell("GetPropertyQualifierSet: unknown",
         Hex(first_->GetPropertyQualifierSet(L"Nothing", qualifiers.Put())));
    Tell("GetMethod: unknown", Hex(class_->GetMethod(L"Nothing", 0, made.Put(), nullptr)));
    velk::Variant number = velk::Variant::FromText(Bstr(L"no number"));
    Tell("Put: a text for a number", Hex(first_->Put(number_.c_str(), 0, number.Address(), 0)));
    Tell("Put: unknown property", Hex(first_->Put(L"Nothing", 0, number.Address(), 0)));
}

/// Which VARIANT each CIM type of the class comes in.
void Client::AskTypes() {
    std::map<CIMTYPE, VARTYPE> types;
    first_->BeginEnumeration(WBEM_FLAG_NONSYSTEM_ONLY);
    velk::Variant value;
    CIMTYPE type = 0;
    while (first_->Next(0, nullptr, value.Put(), &type, nullptr) == WBEM_S_NO_ERROR) {
        if (value.Type() != VT_NULL) types[type] = value.Type();
    }
    first_->EndEnumeration();
    for (const auto& [cim, variant] : types)
        Tell("VARIANT of CIM " + std::to_string(cim), std::to_string(variant));
}

}  // namespace same_client
