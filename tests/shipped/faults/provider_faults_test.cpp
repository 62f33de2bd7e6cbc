// Every call that the shipped DLL makes on behalf of a provider fails once.

#include <gtest/gtest.h>

#include <algorithm>

#include "class_under_test.h"
#include "common/bstr.h"
#include "fault_bench.h"
#include "fault_sweep.h"
#include "holdings.h"
#include "inventory.h"
#include "lock_probe.h"
#include "outcome.h"

namespace {

using velk::ComPtr;
using velktest::ClassUnderTest;
using velktest::Entry;
using velktest::FaultMode;
using velktest::Faults;
using velktest::FaultSweep;
using velktest::Hex;
using velktest::Holdings;
using velktest::Inventory;
using velktest::RecordingInitSink;
using velktest::RecordingSink;

class ProviderFaults : public testing::TestWithParam<ClassUnderTest> {
  protected:
    ProviderFaults() { bench_.DefineClass(GetParam().wmiClass); }

    void SetUp() override {
        // The module settles at the first need where its texts are: not under faults.
        Reference();
        // The first exception makes the run-time keep a little memory, and so does the first on another
        // thread, which is thrown when one of the allocations there fails.
        RunOnce(Entry::kEnumerate, 5, FaultMode::kFromThereOn);
        for (std::size_t call = 20; GetParam().onThread && call < 50; ++call)
            RunOnce(Entry::kEnumerate, call, FaultMode::kSingle);
        const velktest::FakeObjects reference = Reference();
        ASSERT_EQ(reference.size(), GetParam().instances);
        path_ = velktest::PathOf(GetParam().wmiClass, *reference.front(), GetParam().keys, L"");
        missingPath_ = velktest::PathOf(GetParam().wmiClass, *reference.front(), GetParam().keys, L"x");
        reference_ = velktest::InventoryOf(reference);
    }

    /// Of the short run.
    virtual std::size_t Stride() const { return GetParam().stride; }

    void Sweep(const char* what, Entry entry) {
        FaultSweep::Run(std::string(GetParam().name) + ", " + what, Stride(),
                        [&](std::size_t failing, FaultMode mode) { return RunOnce(entry, failing, mode); });
    }

    /// A provider is made, asked under faults, asked again without, and released; then the module unloads.
    std::string RunOnce(Entry entry, std::size_t failing, FaultMode mode) {
        bench_.DeleteLogs();
        bench_.Tidy();
        if (reloads_) bench_.Reload();
        const Holdings before;
        if (!bench_.Attach()) return "the module does not load";
        std::string complaint = AskUnderFaults(entry, failing, mode);
        if (bench_.CanUnloadNow() != S_OK) complaint += "objects of the module are still alive; ";
        bench_.Detach();
        bench_.Tidy();
        // A freshly mapped file keeps a little for its run-time; other tests make the same calls without.
        return reloads_ ? complaint : complaint + before.Difference();
    }

    velktest::FaultBench bench_;
    bool reloads_ = false;

  private:
    std::string AskUnderFaults(Entry entry, std::size_t failing, FaultMode mode) {
        ComPtr<IWbemProviderInit> provider;
        const auto sink = RecordingSink::Make();
        const auto initSink = RecordingInitSink::Make();
        if (entry != Entry::kCreate) bench_.CreateProvider(GetParam().clsid, provider);
        if (entry > Entry::kInitialize) Initialize(*provider, *RecordingInitSink::Make());

        Faults().Arm(failing, mode);
        const HRESULT returned = Ask(entry, provider, *sink, *initSink);
        bench_.RunThreads();
        Faults().Disarm();

        const velktest::Outcome outcome{entry, mode, Faults().FirstFault(), returned, *sink, *initSink};
        std::string complaint = JudgeStatus(GetParam(), outcome) + JudgeSinks(GetParam(), outcome);
        if (!reference_.empty()) complaint += JudgeInventory(GetParam(), outcome, Expected(entry));
        const int held = lockProbe_.CountHeld(velktest::Books().Mutexes(), velktest::Books().Semaphores());
        if (held != 0) complaint += std::to_string(held) + " locks are held; ";
        return complaint + AskAgain(entry, mode, returned, provider);
    }

    HRESULT Ask(Entry entry, ComPtr<IWbemProviderInit>& provider, RecordingSink& sink,
                RecordingInitSink& initSink) {
        switch (entry) {
            case Entry::kCreate:
                return bench_.CreateProvider(GetParam().clsid, provider);
            case Entry::kInitialize:
                return Initialize(*provider, initSink);
            case Entry::kEnumerate:
                return Enumerate(*provider, sink);
            case Entry::kGetFound:
                return Get(*provider, path_, sink);
            case Entry::kGetMissing:
                return Get(*provider, missingPath_, sink);
        }
        return E_UNEXPECTED;
    }

    HRESULT Initialize(IWbemProviderInit& provider, RecordingInitSink& sink) {
        const ComPtr<RecordingInitSink> held(&sink);
        return provider.Initialize(nullptr, 0, nullptr, nullptr, bench_.Services(), nullptr, &sink);
    }
    static ComPtr<IWbemServices> ServicesOf(IWbemProviderInit& provider) {
        ComPtr<IWbemServices> services;
        provider.QueryInterface(IID_IWbemServices, services.PutVoid());
        return services;
    }
    HRESULT Enumerate(IWbemProviderInit& provider, RecordingSink& sink) {
        return ServicesOf(provider)->CreateInstanceEnumAsync(className_.Get(), 0, nullptr, &sink);
    }
    static HRESULT Get(IWbemProviderInit& provider, const velk::CString& path, RecordingSink& sink) {
        const velk::Bstr text(path);
        return ServicesOf(provider)->GetObjectAsync(text.Get(), 0, nullptr, &sink);
    }

    /// What a success must deliver.
    Inventory Expected(Entry entry) const {
        return entry == Entry::kGetFound ? Inventory{reference_.front()} : reference_;
    }

    /// The next request, of the same provider where there is one.
    std::string AskAgain(Entry entry, FaultMode mode, HRESULT returned, ComPtr<IWbemProviderInit>& provider) {
        if (entry == Entry::kCreate && FAILED(returned) != !provider)
            return "a provider and a failure, or none of both; ";
        if (!provider) bench_.CreateProvider(GetParam().clsid, provider);
        if (!provider) return "no other provider can be made; ";
        // One that says that it is initialised must work as it is.
        const bool isInitialized =
            entry > Entry::kInitialize || (entry == Entry::kInitialize && returned == S_OK);
        if (!isInitialized && FAILED(Initialize(*provider, *RecordingInitSink::Make())))
            return "it cannot be initialised again; ";

        const auto sink = RecordingSink::Make();
        const HRESULT result = Enumerate(*provider, *sink);
        bench_.RunThreads();
        if (FAILED(result)) return "the next request fails with " + Hex(result) + "; ";
        if (reference_.empty()) return {};
        const std::string other =
            velktest::Compare(reference_, velktest::InventoryOf(velktest::DeliveredTo(*sink)), Lasting(mode));
        return other.empty() ? "" : "the next request delivers other instances: " + other;
    }

    /// How a request may differ after the faults are over. A module that cannot be had at the first need of a
    /// text has none from then on.
    static velktest::Differences Lasting(FaultMode mode) {
        const bool isLost =
            mode == FaultMode::kFromThereOn || std::string_view(Faults().FirstFault()) == "GetModuleHandleW";
        return isLost ? velktest::Differences{velktest::Difference::kNoText} : velktest::Differences{};
    }

    velktest::FakeObjects Reference() {
        velktest::FakeObjects instances;
        bench_.Attach();
        {
            ComPtr<IWbemProviderInit> provider;
            bench_.CreateProvider(GetParam().clsid, provider);
            Initialize(*provider, *RecordingInitSink::Make());
            const auto sink = RecordingSink::Make();
            Enumerate(*provider, *sink);
            bench_.RunThreads();
            instances = velktest::DeliveredTo(*sink);
        }
        bench_.Detach();
        return instances;
    }

    velk::Bstr className_{GetParam().wmiClass};
    velktest::LockProbe lockProbe_;
    Inventory reference_;  ///< empty until it is known
    velk::CString path_;
    velk::CString missingPath_;
};

TEST_P(ProviderFaults, OfCreation) { Sweep("creation", Entry::kCreate); }
TEST_P(ProviderFaults, OfInitialize) { Sweep("Initialize", Entry::kInitialize); }
TEST_P(ProviderFaults, OfEnumeration) { Sweep("CreateInstanceEnumAsync", Entry::kEnumerate); }
TEST_P(ProviderFaults, OfGettingAnInstance) { Sweep("GetObjectAsync, found", Entry::kGetFound); }
TEST_P(ProviderFaults, OfGettingWhatIsNotThere) { Sweep("GetObjectAsync, not found", Entry::kGetMissing); }

INSTANTIATE_TEST_SUITE_P(EveryClass, ProviderFaults, testing::ValuesIn(velktest::ClassesUnderTest()),
                         [](const auto& tested) { return std::string(tested.param.name); });

/// The first request ever: what the module settles once in its life is settled under faults.
class FirstRequestFaults : public ProviderFaults {
  protected:
    FirstRequestFaults() { reloads_ = true; }
    std::size_t Stride() const override { return 31; }
};

TEST_P(FirstRequestFaults, OfEnumeration) { Sweep("first CreateInstanceEnumAsync", Entry::kEnumerate); }
TEST_P(FirstRequestFaults, OfGettingAnInstance) { Sweep("first GetObjectAsync", Entry::kGetFound); }

/// The table of a machine with the maker's health driver.
class DriverFaults : public ProviderFaults {
  protected:
    DriverFaults() { bench_.SetSmbiosSource(velktest::SmbiosSource::kDriver); }
};

TEST_P(DriverFaults, OfEnumeration) { Sweep("CreateInstanceEnumAsync by driver", Entry::kEnumerate); }

constexpr auto kNameOf = [](const auto& tested) { return std::string(tested.param.name); };
INSTANTIATE_TEST_SUITE_P(Slots, FirstRequestFaults,
                         testing::ValuesIn(velktest::ClassesUnderTest({"Velk_PCISlot"})), kNameOf);
INSTANTIATE_TEST_SUITE_P(
    Slots, DriverFaults,
    testing::ValuesIn(velktest::ClassesUnderTest({"Velk_PCISlot", "Velk_SystemPCISlot"})), kNameOf);

}  // namespace
