#include <gmock/gmock.h>

#include "common/wbem_status.h"
#include "slots/slots_bench.h"
#include "slots/velk_pci_slot_location_prov.h"
#include "support/log_capture.h"
#include "support/waiting.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using velktest::Number;
using velktest::Rebuilt;
using velktest::RecordingSink;
using velktest::StandIn;

class CVelkPCISlotLocationListTest : public velktest::SlotsBench {
  protected:
    CVelkPCISlotLocationList list;
};

TEST_F(CVelkPCISlotLocationListTest, TellsWhereASlotIs) {
    ServeSlots({{.id = 4}});
    const auto records = Rebuilt(list);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].elementName, L"PCI Slot 4");
    EXPECT_EQ(records[0].name, L"PCI Slot 4");
    EXPECT_EQ(records[0].caption, L"PCI Slot 4");
    EXPECT_EQ(records[0].description,
              L"The location of PCI slot 4.  Please refer to PCI slot position 4 printed on the system.");
    EXPECT_EQ(records[0].physicalPosition, L"4");
    EXPECT_EQ(records[0].elementLocationTag, L"PCI Slot 4");
    EXPECT_EQ(records[0].elementLocationTagDesc, 0);
}

TEST_F(CVelkPCISlotLocationListTest, HasTheSlotsOfTheSlotList) {
    ServeSlots({{.id = 0}, {.id = 5, .type = 0x03}, {.id = 2}, {.id = 2}});
    std::vector<CString> positions;
    for (const CVelkPCISlotLocation& location : Rebuilt(list)) positions.push_back(location.physicalPosition);
    EXPECT_THAT(positions, ElementsAre(L"2", L"5", L"65536"));
}

TEST_F(CVelkPCISlotLocationListTest, ModernSlotTypesHaveLocationsWhileTheSettingIsOn) {
    ServeSlots({{.id = 3, .type = 0xC3}});
    EXPECT_THAT(Rebuilt(list), IsEmpty());
    SetModernSlotTypes(1);
    const auto records = Rebuilt(list);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].name, L"PCI Slot 3");
}

TEST_F(CVelkPCISlotLocationListTest, WithoutATableTheListIsAnEmptySuccess) {
    EXPECT_THAT(Rebuilt(list), IsEmpty());
}

class CVelkPCISlotLocationProvTest : public velktest::SlotsBench {
  protected:
    ComPtr<CVelkPCISlotLocationProv> Provider() {
        return Initialized<CVelkPCISlotLocationProv>(L"Velk_PCISlotLocation");
    }
    /// Starts an enumeration; the sink is `sink`.
    HRESULT Start(CVelkPCISlotLocationProv& provider) {
        sink = RecordingSink::Make();
        sink->onStatus = [this] {
            statusThread = ::GetCurrentThreadId();
            ::SetEvent(answered.Get());
        };
        return provider.CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get());
    }
    bool IsAnswered(DWORD patience = velktest::Patience()) {
        return ::WaitForSingleObject(answered.Get(), patience) == WAIT_OBJECT_0;
    }
    /// Waits until the worker has given everything back that it held.
    static bool WorkerIsGone(LONG remaining) {
        return velktest::BecomesTrue([&] { return ModuleLock::Count() == remaining; });
    }

    UniqueHandle answered{::CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    DWORD statusThread = 0;
};

TEST_F(CVelkPCISlotLocationProvTest, DeliversFromAnotherThread) {
    ServeSlots({{.id = 4}, {.id = 7}});
    const auto provider = Provider();
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_NE(statusThread, ::GetCurrentThreadId());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_EQ(sink->indications.size(), 1u) << "all in one call";
    EXPECT_THAT(sink->statuses, ElementsAre(RecordingSink::Status{WBEM_STATUS_COMPLETE, kWbemNoError}));
    EXPECT_TRUE(sink->plainStatuses);

    ASSERT_EQ(Delivered().size(), 2u);
    const auto& location = *Delivered()[0];
    EXPECT_THAT(location.puts,
                ElementsAre(L"ElementName", L"Name", L"Caption", L"Description", L"ElementLocationTag",
                            L"ElementLocationTagDesc", L"PhysicalPosition"));
    EXPECT_EQ(location.Text(L"Name"), L"PCI Slot 4");
    EXPECT_EQ(location.Text(L"ElementLocationTag"), L"PCI Slot 4");
    EXPECT_EQ(Number(location.Find(L"ElementLocationTagDesc")), 0) << "a number";
    EXPECT_EQ(location.Text(L"PhysicalPosition"), L"4");
    EXPECT_EQ(Delivered()[1]->Text(L"PhysicalPosition"), L"7");
}

TEST_F(CVelkPCISlotLocationProvTest, ReturnsBeforeAnythingIsDelivered) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    const UniqueHandle mayGoOn(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    sink = RecordingSink::Make();
    sink->onIndicate = [&] { velktest::BecomesSignalled(mayGoOn.Get()); };
    sink->onStatus = [&] { ::SetEvent(answered.Get()); };
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), kWbemNoError);
    EXPECT_FALSE(IsAnswered(0));
    ::SetEvent(mayGoOn.Get());
    EXPECT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
}

TEST_F(CVelkPCISlotLocationProvTest, WithoutSlotsReportsSuccessAndIndicatesNothing) {
    const auto provider = Provider();
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(RecordingSink::Status{0, kWbemNoError}));
}

int g_threadsAsked = 0;
HANDLE WINAPI NoThread(SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD, DWORD*) {
    ++g_threadsAsked;
    return nullptr;
}

TEST_F(CVelkPCISlotLocationProvTest, ANullSinkIsRefusedWithoutAThread) {
    const auto provider = Provider();
    g_threadsAsked = 0;
    const StandIn<decltype(&NoThread)> noThread("CreateThread", &NoThread);
    EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, nullptr), kWbemInvalidParameter);
    EXPECT_EQ(g_threadsAsked, 0);
}

TEST_F(CVelkPCISlotLocationProvTest, AThreadThatCannotBeStartedReleasesEverything) {
    ServeSlots({{.id = 4}});
    auto provider = Provider();
    g_threadsAsked = 0;
    {
        const StandIn<decltype(&NoThread)> noThread("CreateThread", &NoThread);
        EXPECT_EQ(Start(*provider.Get()), kWbemFailed);
    }
    EXPECT_EQ(g_threadsAsked, 1);
    EXPECT_THAT(sink->statuses, IsEmpty());
    EXPECT_EQ(ModuleLock::Count(), 1) << "the provider alone";
    EXPECT_EQ(sink->AddRef(), 2u) << "ours, and the one just added";
    sink->Release();
    EXPECT_EQ(provider->AddRef(), 2u);
    provider->Release();
}

BOOL WINAPI NoModule(DWORD, const wchar_t*, HMODULE* module) {
    *module = nullptr;
    return FALSE;
}

TEST_F(CVelkPCISlotLocationProvTest, WithoutAReferenceOnTheModuleNoThreadIsStarted) {
    const auto provider = Provider();
    const StandIn<decltype(&NoModule)> noModule("GetModuleHandleExW", &NoModule);
    EXPECT_EQ(Start(*provider.Get()), kWbemFailed);
    EXPECT_EQ(ModuleLock::Count(), 1);
}

TEST_F(CVelkPCISlotLocationProvTest, TheWorkerKeepsProviderSinkAndModule) {
    ServeSlots({{.id = 4}});
    auto provider = Provider();
    const UniqueHandle mayGoOn(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    const UniqueHandle reached(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    sink = RecordingSink::Make();
    sink->onIndicate = [&] {
        ::SetEvent(reached.Get());
        velktest::BecomesSignalled(mayGoOn.Get());
    };
    sink->onStatus = [&] { ::SetEvent(answered.Get()); };
    ASSERT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), kWbemNoError);
    ASSERT_TRUE(velktest::BecomesSignalled(reached.Get()));

    provider.Reset();
    sink.Reset();
    EXPECT_EQ(ModuleLock::Count(), 2) << "the provider and the worker keep the module loaded";
    ::SetEvent(mayGoOn.Get());
    EXPECT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(0));
}

TEST_F(CVelkPCISlotLocationProvTest, AFailingFillIsTheStatusAndTheNextRequestBuildsAfresh) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    classObject->spawnStatus = E_ACCESSDENIED;
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_THAT(sink->indications, IsEmpty());
    EXPECT_THAT(sink->statuses, ElementsAre(RecordingSink::Status{0, E_ACCESSDENIED}));

    classObject->spawnStatus = S_OK;
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_EQ(Delivered().size(), 1u);
}

TEST_F(CVelkPCISlotLocationProvTest, TheSinksAnswerToTheInstancesIsTheStatus) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    sink = RecordingSink::Make();
    sink->indicateStatus = E_ABORT;
    sink->onStatus = [&] { ::SetEvent(answered.Get()); };
    ASSERT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_THAT(sink->statuses, ElementsAre(RecordingSink::Status{0, E_ABORT}));
}

TEST_F(CVelkPCISlotLocationProvTest, ManyRequestsAtOnceAreAllAnswered) {
    ServeSlots({{.id = 4}, {.id = 7}});
    const auto provider = Provider();
    std::vector<ComPtr<RecordingSink>> sinks;
    for (int request = 0; request < 16; ++request) {
        sinks.push_back(RecordingSink::Make());
        EXPECT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sinks.back().Get()), kWbemNoError);
    }
    EXPECT_TRUE(WorkerIsGone(1));
    for (const auto& each : sinks) {
        ASSERT_EQ(each->indications.size(), 1u);
        EXPECT_EQ(each->indications[0].size(), 2u);
        EXPECT_THAT(each->statuses, ElementsAre(RecordingSink::Status{0, kWbemNoError}));
    }
}

HRESULT WINAPI NoCom(void*, DWORD) { return E_OUTOFMEMORY; }
int g_uninitialized = 0;
void WINAPI CountUninitialize() { ++g_uninitialized; }

TEST_F(CVelkPCISlotLocationProvTest, AWorkerWithoutComAnswersAllTheSame) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    g_uninitialized = 0;
    const StandIn<decltype(&NoCom)> noCom("CoInitializeEx", &NoCom);
    const StandIn<decltype(&CountUninitialize)> count("CoUninitialize", &CountUninitialize);
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_EQ(Delivered().size(), 1u);
    EXPECT_EQ(g_uninitialized, 0) << "what was not begun is not ended";
}

TEST_F(CVelkPCISlotLocationProvTest, LogsItsEntryAndItsFillsButNoResult) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    const velktest::LogCapture log;
    ASSERT_EQ(Start(*provider.Get()), kWbemNoError);
    ASSERT_TRUE(IsAnswered());
    EXPECT_TRUE(WorkerIsGone(1));
    EXPECT_THAT(log.Lines(),
                ElementsAre(L"[Verbose] CVelkPCISlotLocationProv::CreateInstanceEnumAsync| Entering",
                            L"[Verbose] CVelkPCISlotLocationProv::FillInstance| Entering"));
}

LONG g_objectsAtTheEndOfCom = 0;
void WINAPI CountObjectsAndUninitialize() {
    g_objectsAtTheEndOfCom = ModuleLock::Count();
    static const auto real = reinterpret_cast<decltype(&::CoUninitialize)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"ole32.dll"), "CoUninitialize")));
    real();
}

TEST_F(CVelkPCISlotLocationProvTest, TheWorkerGivesTheProviderBackBeforeItLeavesCom) {
    ServeSlots({{.id = 4}});
    auto provider = Provider();
    const UniqueHandle mayGoOn(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    sink = RecordingSink::Make();
    sink->onStatus = [&] { velktest::BecomesSignalled(mayGoOn.Get()); };
    const StandIn<decltype(&CountObjectsAndUninitialize)> count("CoUninitialize",
                                                                &CountObjectsAndUninitialize);
    ASSERT_EQ(provider->CreateInstanceEnumAsync(nullptr, 0, nullptr, sink.Get()), kWbemNoError);
    provider.Reset();  // the worker's is the last reference
    ::SetEvent(mayGoOn.Get());
    ASSERT_TRUE(WorkerIsGone(0));
    EXPECT_EQ(g_objectsAtTheEndOfCom, 1) << "the worker's own count, and not the provider";
}

TEST_F(CVelkPCISlotLocationProvTest, FindsALocationByBothKeysExactly) {
    ServeSlots({{.id = 4}});
    const auto provider = Provider();
    EXPECT_EQ(Get(*provider.Get(), L"Velk_PCISlotLocation.Name=\"PCI Slot 4\",PhysicalPosition=\"4\""),
              kWbemNoError);
    ASSERT_EQ(Delivered().size(), 1u);
    EXPECT_EQ(Delivered()[0]->Text(L"Name"), L"PCI Slot 4");
    EXPECT_EQ(Get(*provider.Get(), L"Velk_PCISlotLocation.NAME=\"PCI Slot 4\",physicalposition=\"4\""),
              kWbemNoError);
    for (const wchar_t* path : {L"Velk_PCISlotLocation.Name=\"pci slot 4\",PhysicalPosition=\"4\"",
                                L"Velk_PCISlotLocation.Name=\"PCI Slot 4\",PhysicalPosition=\"5\"",
                                L"Velk_PCISlotLocation.Name=\"PCI Slot 4\""}) {
        EXPECT_EQ(Get(*provider.Get(), path), kWbemNotFound) << path;
    }
}

TEST_F(CVelkPCISlotLocationProvTest, AFailingWriteFailsTheFill) {
    const auto provider = Provider();
    const auto instance = velktest::FakeClassObject::Make();
    instance->FailPut(L"ElementLocationTagDesc", E_ACCESSDENIED);
    EXPECT_EQ(provider->FillInstance(instance.Get(), CVelkPCISlotLocation{}), kWbemFailed);
    EXPECT_THAT(instance->puts,
                ElementsAre(L"ElementName", L"Name", L"Caption", L"Description", L"ElementLocationTag"));
}

}  // namespace
}  // namespace velk
