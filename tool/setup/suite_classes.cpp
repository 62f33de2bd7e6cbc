#include "tool/setup/suite_classes.h"

#include <algorithm>
#include <array>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/variant.h"
#include "tool/basics/errors.h"
#include "tool/inventory/status_names.h"
#include "tool/source/source.h"

namespace velkpci {
namespace {

/// A class as standalone.mof defines it: without a superclass, with two keys.
struct StandaloneClass {
    const wchar_t* name;
    std::array<const wchar_t*, 2> keys;
};

constexpr StandaloneClass kStandaloneClasses[] = {
    {L"Velk_WinComputerSystem", {L"CreationClassName", L"Name"}},
    {L"Velk_ComputerSystemChassis", {L"CreationClassName", L"Tag"}},
};
constexpr wchar_t kOwnClass[] = L"Velk_PCIDevice";

HRESULT GetClass(IWbemServices& services, const wchar_t* name, velk::ComPtr<IWbemClassObject>& definition) {
    const velk::Bstr path(name);
    return services.GetObject(path.Get(), WBEM_FLAG_RETURN_WBEM_COMPLETE, nullptr, definition.Put(), nullptr);
}

bool IsServed(IWbemClassObject& definition) {
    velk::ComPtr<IWbemQualifierSet> qualifiers;
    if (FAILED(definition.GetQualifierSet(qualifiers.Put()))) return true;
    return SUCCEEDED(qualifiers->Get(L"provider", 0, nullptr, nullptr));
}

bool IsOfStandalone(IWbemClassObject& definition, const StandaloneClass& expected) {
    velk::Variant superclass, count;
    if (FAILED(definition.Get(L"__SUPERCLASS", 0, superclass.Put(), nullptr, nullptr)) ||
        FAILED(definition.Get(L"__PROPERTY_COUNT", 0, count.Put(), nullptr, nullptr)))
        return false;
    const bool isDerived = superclass.Type() == VT_BSTR && !superclass.Text().empty();
    const bool hasTwo =
        count.Type() == VT_I4 && V_I4(&count.Get()) == static_cast<LONG>(expected.keys.size());
    const bool hasKeys = std::ranges::all_of(expected.keys, [&](const wchar_t* key) {
        return SUCCEEDED(definition.Get(key, 0, nullptr, nullptr, nullptr));
    });
    return !isDerived && hasTwo && hasKeys && !IsServed(definition);
}

}  // namespace

SuiteState StateOf(std::span<const SuiteClass> classes) {
    SuiteState state = SuiteState::kMissing;
    for (const SuiteClass& each : classes) {
        if (IsNotThere(each.status)) continue;
        if (FAILED(each.status)) return SuiteState::kUnknown;
        if (!each.isOfStandalone)
            state = SuiteState::kSuite;
        else if (state == SuiteState::kMissing)
            state = SuiteState::kStandalone;
    }
    return state;
}

HRESULT OpenStatus(std::span<const SuiteClass> classes) {
    const auto open = std::ranges::find_if(
        classes, [](const SuiteClass& each) { return FAILED(each.status) && !IsNotThere(each.status); });
    return open == classes.end() ? S_OK : open->status;
}

NamespaceAnswers AskAboutClasses(IWbemServices& services) {
    NamespaceAnswers answers;
    for (const StandaloneClass& each : kStandaloneClasses) {
        velk::ComPtr<IWbemClassObject> definition;
        const HRESULT status = GetClass(services, each.name, definition);
        answers.suite.push_back({status, SUCCEEDED(status) && IsOfStandalone(*definition, each)});
    }
    velk::ComPtr<IWbemClassObject> own;
    answers.ownClass = GetClass(services, kOwnClass, own);
    return answers;
}

NamespaceAnswers AskWmiAboutClasses(const Console& console) {
    try {
        const auto source = OpenSource({}, console);
        return AskAboutClasses(source->Services());
    } catch (const WmiError& error) {
        return {std::vector<SuiteClass>(std::size(kStandaloneClasses), {error.Status(), false}),
                error.Status()};
    }
}

}  // namespace velkpci
