// Every call that the shipped DLL makes on behalf of a provider fails once.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <string_view>

#include "allowed_statuses.h"
#include "common/bstr.h"
#include "fault_bench.h"
#include "fault_sweep.h"
#include "holdings.h"
#include "instance_text.h"
#include "lock_probe.h"
#include "module/identifiers.h"

namespace {

using velk::ComPtr;
using velktest::AllowedStartStatuses;
using velktest::AllowedStatuses;
using velktest::Entry;
using velktest::FaultMode;
using velktest::Faults;
using velktest::FaultSweep;
using velktest::Hex;
using velktest::Holdings;
using velktest::RecordingInitSink;
using velktest::RecordingSink;

struct ClassUnderTest {
    const char* name;
    const wchar_t* wmiClass;
    CLSID clsid;
    std::vector<velk::CString> keys;
    std::size_t instances;    ///< that the bench's machine has
    std::size_t stride;       ///< of the short run
    bool onThread = false;    ///< answers enumerations on a thread of its own
    bool needsTable = false;  ///< fails without an SMBIOS table
};

const std::vector<velk::CString> kFunctionKeys = {L"CreationClassName", L"DeviceID",
                                                  L"SystemCreationClassName", L"SystemName"};
const std::vector<velk::CString> kTagKeys = {L"CreationClassName", L"Tag"};
const std::vector<velk::CString> kDependencyKeys = {L"Antecedent", L"Dependent"};
const std::vector<velk::CString> kComponentKeys = {L"GroupComponent", L"PartComponent"};

/// Every so many calls fail in the short run: closer in a class of each kind (a list of the module's, a
/// thread of its own, an association that reads everything) than in the others, which share their code.
constexpr std::size_t kManyCalls = 4;
constexpr std::size_t kFewCalls = 13;

const ClassUnderTest kClasses[] = {
    {"Velk_PCIDevice", L"Velk_PCIDevice", velk::kClsidVelkPCIDeviceProv, kFunctionKeys, 3, kManyCalls},
    {"Velk_PCIBridge", L"Velk_PCIBridge", velk::kClsidVelkPCIBridgeProv, kFunctionKeys, 2, kFewCalls},
    {"Velk_PCISlot", L"Velk_PCISlot", velk::kClsidVelkPCISlotProv, kTagKeys, 3, kFewCalls},
    {"Velk_PCISlotLocation",
     L"Velk_PCISlotLocation",
     velk::kClsidVelkPCISlotLocationProv,
     {L"Name", L"PhysicalPosition"},
     3,
     kManyCalls,
     true},
    {"Velk_PCICard", L"Velk_PCICard", velk::kClsidVelkPCICardProv, kTagKeys, 2, kFewCalls},
    {"Velk_PCICardInSlot", L"Velk_PCICardInSlot", velk::kClsidVelkPCICardInSlotProv, kDependencyKeys, 2,
     kFewCalls},
    {"Velk_PCISlotElementLocation",
     L"Velk_PCISlotElementLocation",
     velk::kClsidVelkPCISlotElementLocationProv,
     {L"Element", L"PhysicalLocation"},
     3,
     kFewCalls},
    {"Velk_RealizesPCIDevice", L"Velk_RealizesPCIDevice", velk::kClsidVelkRealizesPCIDeviceProv,
     kDependencyKeys, 3, kFewCalls},
    {"Velk_SystemPCIDevice", L"Velk_SystemPCIDevice", velk::kClsidVelkSystemPCIDeviceProv, kComponentKeys, 5,
     kFewCalls},
    {"Velk_SystemPCISlot", L"Velk_SystemPCISlot", velk::kClsidVelkSystemPCISlotProv, kComponentKeys, 2,
     kManyCalls, false, true},
};

std::ostream& operator<<(std::ostream& out, const ClassUnderTest& tested) { return out << tested.name; }

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
        reference_ = Reference();
        ASSERT_EQ(reference_.size(), GetParam().instances);
        path_ = velktest::PathOf(GetParam().wmiClass, *reference_.front(), GetParam().keys, L"");
        missingPath_ = velktest::PathOf(GetParam().wmiClass, *reference_.front(), GetParam().keys, L"x");
        referenceText_ = velktest::TextOf(reference_);
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

        std::string complaint = JudgeStatus(entry, mode, returned, *sink);
        complaint += JudgeSinks(entry, returned, *sink, *initSink);
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

    static std::string JudgeStatus(Entry entry, FaultMode mode, HRESULT returned, const RecordingSink& sink) {
        std::string call = Faults().FirstFault();
        const bool startsThread = entry == Entry::kEnumerate && GetParam().onThread;
        const auto allowed = startsThread ? AllowedStartStatuses(mode, call)
                                          : AllowedStatuses(entry, mode, call, GetParam().needsTable);
        std::string complaint;
        if (!allowed.contains(returned)) complaint += "returned " + Hex(returned) + "; ";
        if (!startsThread || FAILED(returned) || sink.statuses.empty()) return complaint;
        const HRESULT reported = sink.statuses.front().result;
        if (!AllowedStatuses(entry, mode, call, GetParam().needsTable).contains(reported))
            complaint += "reported " + Hex(reported) + "; ";
        return complaint;
    }

    static std::string JudgeSinks(Entry entry, HRESULT returned, const RecordingSink& sink,
                                  const RecordingInitSink& initSink) {
        std::size_t statuses = 0;
        std::size_t indications = 0;
        std::size_t initStatuses = 0;
        HRESULT reported = returned;
        if (entry == Entry::kInitialize && SUCCEEDED(returned)) initStatuses = 1;
        if (entry == Entry::kEnumerate) {
            // A thread that could not be started reports nothing; everybody else reports everything.
            statuses = GetParam().onThread && FAILED(returned) ? 0 : 1;
            if (GetParam().onThread && !sink.statuses.empty()) reported = sink.statuses.front().result;
            // An empty list is delivered by no call at all, and a call that was made to fail is none.
            indications =
                SUCCEEDED(reported) && statuses == 1 ? std::min<std::size_t>(sink.indications.size(), 1) : 0;
        }
        if ((entry == Entry::kGetFound || entry == Entry::kGetMissing) && SUCCEEDED(returned)) {
            statuses = 1;
            // As above: the status follows whatever Indicate answers.
            indications = std::min<std::size_t>(sink.indications.size(), 1);
            reported = S_OK;
        }
        std::string complaint;
        if (sink.statuses.size() != statuses)
            complaint += std::to_string(sink.statuses.size()) + " statuses; ";
        if (!sink.statuses.empty() &&
            sink.statuses.front() != RecordingSink::Status{WBEM_STATUS_COMPLETE, reported})
            complaint += "another status than returned; ";
        if (!sink.plainStatuses) complaint += "status with a text or an object; ";
        if (sink.indications.size() != indications)
            complaint += std::to_string(sink.indications.size()) + " deliveries; ";
        if (initSink.statuses.size() != initStatuses)
            complaint += std::to_string(initSink.statuses.size()) + " statuses of Initialize; ";
        return complaint;
    }

    /// The next request, of the same provider where there is one.
    std::string AskAgain(Entry entry, FaultMode mode, HRESULT returned, ComPtr<IWbemProviderInit>& provider) {
        if (entry == Entry::kCreate && FAILED(returned) != !provider)
            return "a provider and a failure, or none of both; ";
        if (!provider) bench_.CreateProvider(GetParam().clsid, provider);
        if (!provider) return "no other provider can be made; ";
        if (entry <= Entry::kInitialize && FAILED(Initialize(*provider, *RecordingInitSink::Make())))
            return "it cannot be initialised again; ";

        const auto sink = RecordingSink::Make();
        const HRESULT result = Enumerate(*provider, *sink);
        bench_.RunThreads();
        if (FAILED(result)) return "the next request fails with " + Hex(result) + "; ";
        if (referenceText_.empty()) return {};
        const velk::CString text = velktest::TextOf(velktest::DeliveredTo(*sink));
        if (text == referenceText_ || (MayLoseTexts(mode) && text.find(kNoText) != text.npos)) return {};
        return "the next request delivers other instances; ";
    }

    /// A module that cannot be had at the first need of a text has none from then on.
    static constexpr wchar_t kNoText[] = L"<String could not be found!>";
    static bool MayLoseTexts(FaultMode mode) {
        return mode != FaultMode::kSingle || std::string_view(Faults().FirstFault()) == "GetModuleHandleW";
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
    velktest::FakeObjects reference_;
    velk::CString referenceText_;
    velk::CString path_;
    velk::CString missingPath_;
};

TEST_P(ProviderFaults, OfCreation) { Sweep("creation", Entry::kCreate); }
TEST_P(ProviderFaults, OfInitialize) { Sweep("Initialize", Entry::kInitialize); }
TEST_P(ProviderFaults, OfEnumeration) { Sweep("CreateInstanceEnumAsync", Entry::kEnumerate); }
TEST_P(ProviderFaults, OfGettingAnInstance) { Sweep("GetObjectAsync, found", Entry::kGetFound); }
TEST_P(ProviderFaults, OfGettingWhatIsNotThere) { Sweep("GetObjectAsync, not found", Entry::kGetMissing); }

INSTANTIATE_TEST_SUITE_P(EveryClass, ProviderFaults, testing::ValuesIn(kClasses),
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

std::vector<ClassUnderTest> Select(std::initializer_list<std::string_view> names) {
    std::vector<ClassUnderTest> selected;
    std::ranges::copy_if(kClasses, std::back_inserter(selected), [&](const ClassUnderTest& tested) {
        return std::ranges::find(names, tested.name) != names.end();
    });
    return selected;
}

constexpr auto kNameOf = [](const auto& tested) { return std::string(tested.param.name); };
INSTANTIATE_TEST_SUITE_P(Slots, FirstRequestFaults, testing::ValuesIn(Select({"Velk_PCISlot"})), kNameOf);
INSTANTIATE_TEST_SUITE_P(Slots, DriverFaults,
                         testing::ValuesIn(Select({"Velk_PCISlot", "Velk_SystemPCISlot"})), kNameOf);

}  // namespace
