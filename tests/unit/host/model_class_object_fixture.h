#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/variant.h"
#include "host/model/class_object.h"
#include "host/model/repository.h"
#include "host/model/value.h"

namespace velktest {

/// The classes of kMof in the namespace root\Test, and how a test makes and reads objects of them.
class ClassObjectTest : public ::testing::Test {
  protected:
    static constexpr HRESULT kMismatch = static_cast<HRESULT>(WBEM_E_TYPE_MISMATCH);
    static constexpr HRESULT kNoMoreData = static_cast<HRESULT>(WBEM_S_NO_MORE_DATA);

    static constexpr std::string_view kMof = R"(
#pragma namespace("\\\\.\\root")
instance of __Namespace { Name = "Test"; };
#pragma namespace("\\\\.\\root\\Test")
[Description("The base.")] class Base { [Key, Read] string Tag; string Caption = "none"; };
[Dynamic, Provider("P")] class Thing : Base
{
    [Key] uint32 Number;
    [ValueMap{"0", "1", "2..5"}, Values{"Zero", "One", "Some"}] uint16 Kinds[];
    boolean Flag = TRUE;
    Base ref Link;
};
class Lone { string Text; };
)";

    ClassObjectTest() { repository_.LoadMof(kMof, "test.mof"); }

    static velk::Variant Text(std::wstring_view text) { return velk::Variant::FromText(velk::Bstr(text)); }
    static std::vector<std::wstring> Names(SAFEARRAY* array) {
        const velk::Variant variant = velk::Variant::Array(VT_BSTR, velk::UniqueSafeArray(array));
        velkhost::Value value;
        EXPECT_EQ(velkhost::FromVariant({velkhost::Cim::kString, true}, variant.Get(), value), S_OK);
        std::vector<std::wstring> names;
        for (const velkhost::Value& name : *value.As<velkhost::Value::List>())
            names.push_back(velkhost::ToText(name));
        return names;
    }
    velk::ComPtr<velkhost::ClassObject> Class(const wchar_t* name) {
        return velkhost::MakeClass(repository_.FindClass(L"root\\Test", name));
    }
    velk::ComPtr<IWbemClassObject> Spawn(const wchar_t* name) {
        velk::ComPtr<IWbemClassObject> instance;
        EXPECT_EQ(Class(name)->SpawnInstance(0, instance.Put()), S_OK);
        return instance;
    }
    /// A Thing whose keys have values.
    velk::ComPtr<IWbemClassObject> Keyed() {
        velk::ComPtr<IWbemClassObject> thing = Spawn(L"Thing");
        Put(thing, L"Tag", Text(L"a\"b"));
        Put(thing, L"Number", velk::Variant::SInt32(7));
        return thing;
    }
    static void Put(const velk::ComPtr<IWbemClassObject>& object, const wchar_t* name, velk::Variant value) {
        EXPECT_EQ(object->Put(name, 0, value.Address(), 0), S_OK) << name;
    }
    template <class Object>
    static velk::Variant Get(const velk::ComPtr<Object>& object, const wchar_t* name) {
        velk::Variant value;
        EXPECT_EQ(object->Get(name, 0, value.Put(), nullptr, nullptr), S_OK) << name;
        return value;
    }
    template <class Object>
    static std::wstring GetText(const velk::ComPtr<Object>& object, const wchar_t* name) {
        const velk::Variant value = Get(object, name);
        EXPECT_EQ(value.Type(), VT_BSTR) << name;
        return value.Type() == VT_BSTR ? std::wstring(value.Text()) : std::wstring();
    }
    static std::wstring QualifierText(const velk::ComPtr<IWbemQualifierSet>& qualifiers,
                                      const wchar_t* name) {
        velk::Variant value;
        EXPECT_EQ(qualifiers->Get(name, 0, value.Put(), nullptr), S_OK) << name;
        return value.Type() == VT_BSTR ? std::wstring(value.Text()) : std::wstring();
    }
    static std::vector<std::wstring> Enumerated(IWbemClassObject& object, LONG flags) {
        std::vector<std::wstring> names;
        EXPECT_EQ(object.BeginEnumeration(flags), S_OK);
        velk::Bstr name;
        while (object.Next(0, name.Put(), nullptr, nullptr, nullptr) == S_OK) names.emplace_back(name.View());
        EXPECT_EQ(object.EndEnumeration(), S_OK);
        return names;
    }

    velkhost::Repository repository_{L"SRV01"};
};

}  // namespace velktest
