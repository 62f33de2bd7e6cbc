#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <vector>

#include "common/com_ptr.h"
#include "common/platform.h"
#include "common/text.h"
#include "common/wbem_status.h"
#include "framework/instance_list.h"
#include "framework/instance_provider.h"
#include "framework/property_table.h"
#include "support/hosted/provider_bench.h"
#include "support/recording_sink.h"
#include "support/stand_ins.h"

namespace velktest {

// A toy class for the provider template: a thing with a name, keyed by it and by the computer.

inline constexpr wchar_t kWmiClass[] = L"Test_Thing";
inline constexpr const wchar_t* kKeys[] = {L"Name", L"SystemName"};
inline constexpr velk::ProviderClass kProviderClass = {L"CThingProv", kWmiClass, L"ThingProv", kKeys, true};

struct Thing {
    velk::CString name;
};
inline constexpr velk::PropertyRow<Thing> kProperties[] = {{L"Name", &Thing::name},
                                                           {L"SystemName", velk::ComputerName{}}};

/// What the next rebuild of a thing list does.
struct Source {
    std::vector<velk::CString> names;
    bool succeeds = true;
    bool throws = false;
    bool originSucceeds = true;
    int rebuilds = 0;
};
inline Source g_source;

/// A list that things are made from; it has no records of its own.
class OriginList : public velk::CInstanceList<int> {
    bool RebuildList() override { return g_source.originSucceeds; }
};
inline OriginList* g_origin = nullptr;

class ThingList : public velk::CInstanceList<Thing> {
  public:
    ThingList() : CInstanceList({g_origin}) {}

  private:
    bool RebuildList() override {
        ++g_source.rebuilds;
        Clear();
        if (g_source.throws) throw std::bad_alloc();
        for (const velk::CString& name : g_source.names) Append({name});
        return g_source.succeeds;
    }
};

class ThingProv final : public velk::CInstanceProvider<ThingList> {
  public:
    ThingProv() : CInstanceProvider(kProviderClass, list_, kProperties) {}

  private:
    bool KeysMatch(const velk::RequestedKeys& keys, const Thing& thing) const override {
        return keys.values[0] == thing.name && keys.values[1] == keys.computerName;
    }
    ThingList list_;
};

inline DWORD g_computerNameError = ERROR_SUCCESS;
inline BOOL WINAPI NameTheComputer(COMPUTER_NAME_FORMAT, wchar_t* buffer, DWORD* size) {
    constexpr wchar_t kName[] = L"SRV01";
    if (g_computerNameError != ERROR_SUCCESS) {
        ::SetLastError(g_computerNameError);
        return FALSE;
    }
    std::copy(std::begin(kName), std::end(kName), buffer);
    *size = static_cast<DWORD>(std::size(kName)) - 1;
    return TRUE;
}

/// Lets no class be found: the path parser's is missing.
class NoClasses {
    static HRESULT WINAPI FindNone(REFCLSID, DWORD, void*, REFIID, void**) { return REGDB_E_CLASSNOTREG; }
    StandIn<decltype(&FindNone)> redirect_{"CoGetClassObject", &FindNone};
};

/// A provider of things, on the computer SRV01.
class InstanceProvider : public ProviderBench {
  protected:
    static constexpr wchar_t kPathOfB[] = L"Test_Thing.Name=\"b\",SystemName=\"SRV01\"";

    InstanceProvider() {
        g_source = {};
        g_origin = &origin_;
        g_computerNameError = ERROR_SUCCESS;
    }

    velk::ComPtr<ThingProv> Provider() { return Initialized<ThingProv>(kWmiClass); }
    /// Lets one rebuild fail: the next one has the first generation again, as that of a new provider has.
    void FailARebuild(ThingProv& provider) {
        g_source.succeeds = false;
        EXPECT_EQ(Get(provider, kPathOfB), velk::kWbemNotFound);
        g_source.succeeds = true;
    }
    std::vector<velk::CString> DeliveredNames() {
        std::vector<velk::CString> names;
        for (const auto& object : Delivered()) names.push_back(object->Text(L"Name"));
        return names;
    }
    std::vector<RecordingSink::Status> Statuses() { return sink->statuses; }

    OriginList origin_;
    StandIn<decltype(&NameTheComputer)> computerName_{"GetComputerNameExW", &NameTheComputer};
};

}  // namespace velktest
