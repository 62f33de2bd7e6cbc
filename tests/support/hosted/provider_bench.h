#pragma once

#include <gtest/gtest.h>

#include "common/bstr.h"
#include "common/com_ptr.h"
#include "framework/module_lock.h"
#include "host/path/path_parser.h"
#include "support/fake_wbem.h"
#include "support/recording_sink.h"

namespace velktest {

/// A COM apartment for a scope.
class Apartment {
  public:
    Apartment() { ::CoInitializeEx(nullptr, COINIT_MULTITHREADED); }
    ~Apartment() { ::CoUninitialize(); }
    Apartment(const Apartment&) = delete;
    Apartment& operator=(const Apartment&) = delete;
};

/// Fails the test when fakes or COM objects of the module outlive the scope.
class LeakCheck {
  public:
    LeakCheck() = default;
    ~LeakCheck() {
        EXPECT_EQ(LiveFakes(), 0) << "fake COM objects are still referenced";
        EXPECT_EQ(velk::ModuleLock::Count(), 0) << "objects of the module are still alive";
    }
    LeakCheck(const LeakCheck&) = delete;
    LeakCheck& operator=(const LeakCheck&) = delete;
};

/// Everything that a provider needs around it: WMI's path parser, the namespace that it is initialised with,
/// and the suite's computer-system class, served by the server "WMISERVER".
class ProviderBench : public ::testing::Test {
  public:
    ProviderBench();

    /// A new provider that has been initialised for the WMI class it serves.
    template <class Provider>
    velk::ComPtr<Provider> Initialized(const wchar_t* wmiClass) {
        velk::ComPtr<Provider> provider(new Provider);
        classObject = FakeClassObject::Make();
        services->AddObject(wmiClass, classObject);
        EXPECT_EQ(Initialize(*provider.Get()), S_OK);
        return provider;
    }
    HRESULT Initialize(IWbemProviderInit& provider) {
        return provider.Initialize(nullptr, 0, nullptr, nullptr, services.Get(), nullptr, initSink.Get());
    }

    /// Runs one enumeration with a sink of its own.
    HRESULT Enumerate(IWbemServices& provider);
    /// Runs one get with a sink of its own.
    HRESULT Get(IWbemServices& provider, const velk::CString& path);

    /// What the last request delivered, as the fakes that they are.
    FakeObjects Delivered() const;

  private:
    LeakCheck leakCheck_;
    Apartment apartment_;
    velkhost::ClassRegistration pathParser_;

  public:
    FakeWmi wmi;
    velk::ComPtr<FakeServices> services = FakeServices::Make();
    velk::ComPtr<RecordingInitSink> initSink = RecordingInitSink::Make();
    velk::ComPtr<FakeClassObject> classObject;  ///< the class definition of the last initialised provider
    velk::ComPtr<RecordingSink> sink;           ///< of the last request

    /// Makes the suite's computer-system class answer with this server name.
    void ServeComputerSystemClass(const velk::CString& server);
};

/// The query that every full object path costs, as it reaches WMI.
inline constexpr wchar_t kComputerSystemQuery[] =
    L"SELECT * FROM META_CLASS WHERE __CLASS = \"VELK_WINCOMPUTERSYSTEM\"";

}  // namespace velktest
