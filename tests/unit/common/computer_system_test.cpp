#include "common/computer_system.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>

#include "common/wbem_status.h"
#include "support/fake_wbem.h"
#include "support/stand_ins.h"

namespace velk {
namespace {

using ::testing::ElementsAre;
using velktest::FakeClassObject;
using velktest::StandIn;

constexpr wchar_t kClassQuery[] = L"SELECT * FROM META_CLASS WHERE __CLASS = \"VELK_WINCOMPUTERSYSTEM\"";
constexpr wchar_t kChassisQuery[] = L"SELECT * FROM VELK_COMPUTERSYSTEMCHASSIS";

/// What GetComputerNameExW answers.
struct {
    std::map<int, CString> names;              // by format; a missing one fails
    DWORD error = ERROR_INVALID_PARAMETER;     // with which it fails
    DWORD secondError = ERROR_SUCCESS;         // with which a call after ERROR_MORE_DATA fails
    std::vector<std::pair<int, DWORD>> calls;  // format and capacity
} computer;

BOOL WINAPI GiveName(COMPUTER_NAME_FORMAT format, wchar_t* buffer, DWORD* size) {
    computer.calls.emplace_back(format, *size);
    const auto found = computer.names.find(format);
    if (found == computer.names.end()) {
        // A code of its own for each format, to tell which one was returned.
        ::SetLastError(computer.error + static_cast<DWORD>(format));
        return FALSE;
    }
    const CString& name = found->second;
    if (computer.secondError != ERROR_SUCCESS && computer.calls.size() > 1) {
        ::SetLastError(computer.secondError);
        return FALSE;
    }
    if (*size <= name.size()) {
        *size = static_cast<DWORD>(name.size());
        ::SetLastError(ERROR_MORE_DATA);
        return FALSE;
    }
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    *size = static_cast<DWORD>(name.size());
    return TRUE;
}

class ComputerSystemTest : public ::testing::Test {
  protected:
    ComputerSystemTest() { computer = {}; }
    ~ComputerSystemTest() override {
        wmi_.reset();
        EXPECT_EQ(velktest::LiveFakes(), 0) << "a reference leaked";
    }

    velktest::FakeServices& Suite() { return wmi_->Namespace(L"root\\VKQ"); }
    static ComPtr<FakeClassObject> MakeClass() {
        const ComPtr<FakeClassObject> object = FakeClassObject::Make();
        object->SetText(L"__PATH", L"\\\\SERVER\\root\\VKQ:Velk_WinComputerSystem");
        object->SetText(L"__SERVER", L"SERVER");
        return object;
    }
    static ComPtr<FakeClassObject> MakeChassis(const CString& tag) {
        const ComPtr<FakeClassObject> object = FakeClassObject::Make();
        object->SetText(L"__PATH", L"\\\\SERVER\\root\\VKQ:Velk_ComputerSystemChassis.Tag=\"" + tag + L"\"");
        return object;
    }

    StandIn<decltype(&GiveName)> redirect_{"GetComputerNameExW", &GiveName};
    std::optional<velktest::FakeWmi> wmi_{std::in_place};
    CString name_ = L"before";
};

TEST_F(ComputerSystemTest, NameIsTheFullyQualifiedOneAsItStands) {
    computer.names = {{3, L" Srv01.Example.net "}, {1, L"host"}, {0, L"NETBIOS"}};
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(name_, L" Srv01.Example.net ");
    EXPECT_EQ(computer.calls.size(), 1U);
}

TEST_F(ComputerSystemTest, NameFallsBackToTheHostName) {
    computer.names = {{1, L"host"}, {0, L"NETBIOS"}};
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(name_, L"host");
}

TEST_F(ComputerSystemTest, NameFallsBackToTheNetBiosNameLast) {
    computer.names = {{0, L"NETBIOS"}};
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(name_, L"NETBIOS");
    EXPECT_THAT(computer.calls, ElementsAre(std::pair(3, 8192U), std::pair(1, 8192U), std::pair(0, 8192U)));
}

TEST_F(ComputerSystemTest, WithoutAnyNameTheLastErrorIsReturnedAndTheNameIsEmpty) {
    computer.error = ERROR_BAD_NETPATH;
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_BAD_NETPATH}) << "of the format asked last";
    EXPECT_EQ(name_, L"");
}

TEST_F(ComputerSystemTest, FailedFormatReturnsItsError) {
    computer.error = ERROR_BAD_NETPATH;
    EXPECT_EQ(GetComputerNameByFormat(name_, ComputerNameDnsHostname), DWORD{ERROR_BAD_NETPATH} + 1);
    EXPECT_EQ(name_, L"before");
    EXPECT_EQ(computer.calls.size(), 1U);
}

TEST_F(ComputerSystemTest, NameBeyondTheFirstBufferIsReadAfterOneRegrowth) {
    const CString longName(9000, L'n');
    computer.names = {{3, longName}};
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(name_, longName);
    EXPECT_THAT(computer.calls, ElementsAre(std::pair(3, 8192U), std::pair(3, 9001U)));
}

TEST_F(ComputerSystemTest, SecondCallThatFailsReturnsItsError) {
    computer.names = {{3, CString(9000, L'n')}};
    for (const DWORD error : {DWORD{ERROR_BAD_NETPATH}, DWORD{ERROR_MORE_DATA}}) {
        computer.calls.clear();
        computer.secondError = error;
        EXPECT_EQ(GetComputerNameByFormat(name_, ComputerNameDnsFullyQualified), error);
        EXPECT_EQ(computer.calls.size(), 2U);
    }
}

BOOL WINAPI WriteNothing(COMPUTER_NAME_FORMAT, wchar_t*, DWORD*) { return TRUE; }
BOOL WINAPI WriteNoEnd(COMPUTER_NAME_FORMAT, wchar_t* buffer, DWORD*) {
    std::fill_n(buffer, 4095, L'n');
    return TRUE;
}

decltype(&::HeapAlloc) realHeapAlloc = nullptr;
/// Memory that was something else before.
void* WINAPI AllocateUsed(HANDLE heap, DWORD flags, SIZE_T size) {
    void* memory = realHeapAlloc(heap, flags, size);
    if ((flags & HEAP_ZERO_MEMORY) == 0 && memory != nullptr) std::memset(memory, 'x', size);
    return memory;
}

TEST_F(ComputerSystemTest, ANameWithoutAnEndIsReadToTheEndOfTheBuffer) {
    const StandIn heap("HeapAlloc", &AllocateUsed);
    realHeapAlloc = heap.Original<decltype(&::HeapAlloc)>();
    {
        const StandIn write("GetComputerNameExW", &WriteNothing);
        EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
        EXPECT_EQ(name_, L"");
    }
    const StandIn write("GetComputerNameExW", &WriteNoEnd);
    EXPECT_EQ(GetLocalComputerName(name_), DWORD{ERROR_SUCCESS});
    EXPECT_EQ(name_, CString(4095, L'n'));
}

SIZE_T refusedSize = 0;
std::vector<SIZE_T> allocations;
void* WINAPI AllocateUnlessRefused(HANDLE heap, DWORD flags, SIZE_T size) {
    allocations.push_back(size);
    return size == refusedSize ? nullptr : realHeapAlloc(heap, flags, size);
}

TEST_F(ComputerSystemTest, BufferThatCannotBeHadIsError8) {
    const StandIn heap("HeapAlloc", &AllocateUnlessRefused);
    realHeapAlloc = heap.Original<decltype(&::HeapAlloc)>();
    computer.names = {{3, CString(9000, L'n')}};
    refusedSize = 8192;
    EXPECT_EQ(GetComputerNameByFormat(name_, ComputerNameDnsFullyQualified), 8U);
    EXPECT_EQ(GetLocalComputerName(name_), 8U);
    EXPECT_TRUE(computer.calls.empty());

    allocations.clear();
    refusedSize = 9001 * sizeof(wchar_t);
    EXPECT_EQ(GetComputerNameByFormat(name_, ComputerNameDnsFullyQualified), 8U);
    EXPECT_EQ(computer.calls.size(), 1U);
    EXPECT_THAT(allocations, ElementsAre(8192U, 18002U)) << "bytes";
}

TEST_F(ComputerSystemTest, ClassNameIsFixed) {
    EXPECT_EQ(CString(GetComputerSystemClassName()), L"Velk_WinComputerSystem");
}

TEST_F(ComputerSystemTest, PathIsThatOfTheClassWithComputedKeys) {
    computer.names = {{3, L"SRV01"}};
    Suite().Answer(kClassQuery, {.objects = {MakeClass()}});
    EXPECT_EQ(GetComputerSystemPath(name_), S_OK);
    EXPECT_EQ(name_,
              L"\\\\SERVER\\root\\VKQ:Velk_WinComputerSystem.CreationClassName=\"Velk_WinComputerSystem\","
              L"Name=\"SRV01\"");
    EXPECT_THAT(wmi_->connections, ElementsAre(L"root\\VKQ"));
    EXPECT_EQ(Suite().nextCalls[0].timeout, 30000);
}

TEST_F(ComputerSystemTest, PathReportsATimeout) {
    computer.names = {{3, L"SRV01"}};
    Suite().Answer(kClassQuery, {.objects = {MakeClass()}, .last = kWbemTimedOut});
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemTimedOut);
    EXPECT_NE(name_, L"");
}

TEST_F(ComputerSystemTest, PathNeedsExactlyOneClass) {
    computer.names = {{3, L"SRV01"}};
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemFailed) << "no namespace";
    EXPECT_EQ(name_, L"");
    Suite().Answer(kClassQuery, {});
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemFailed) << "no class";
    Suite().Answer(kClassQuery, {.objects = {MakeClass(), MakeClass()}});
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemFailed) << "two";
    EXPECT_EQ(name_, L"");
}

TEST_F(ComputerSystemTest, ClassWithoutReadablePathIsASuccessWithAnEmptyPath) {
    computer.names = {{3, L"SRV01"}};
    const ComPtr<FakeClassObject> object = FakeClassObject::Make();
    Suite().Answer(kClassQuery, {.objects = {object}});
    EXPECT_EQ(GetComputerSystemPath(name_), S_OK);
    EXPECT_EQ(name_, L"");
    object->Set(L"__PATH", Variant::SInt32(1));
    EXPECT_EQ(GetComputerSystemPath(name_), S_OK);
    EXPECT_EQ(name_, L"");
    Suite().Answer(kClassQuery, {.objects = {object}, .last = kWbemTimedOut});
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemTimedOut) << "the query's own status";
}

TEST_F(ComputerSystemTest, PathNeedsAComputerName) {
    Suite().Answer(kClassQuery, {.objects = {MakeClass()}});
    EXPECT_EQ(GetComputerSystemPath(name_), kWbemFailed);
    EXPECT_EQ(name_, L"");
}

TEST_F(ComputerSystemTest, ChassisPathIsThatOfTheOneInstance) {
    Suite().Answer(kChassisQuery, {.objects = {MakeChassis(L"100%d")}});
    EXPECT_EQ(GetChassisPath(name_), S_OK);
    EXPECT_EQ(name_, L"\\\\SERVER\\root\\VKQ:Velk_ComputerSystemChassis.Tag=\"100%d\"");
    Suite().Answer(kChassisQuery, {.objects = {MakeChassis(L"1")}, .last = kWbemTimedOut});
    EXPECT_EQ(GetChassisPath(name_), kWbemTimedOut);
    EXPECT_EQ(name_, L"\\\\SERVER\\root\\VKQ:Velk_ComputerSystemChassis.Tag=\"1\"");
}

TEST_F(ComputerSystemTest, ChassisPathNeedsExactlyOneInstance) {
    EXPECT_EQ(GetChassisPath(name_), kWbemFailed) << "no namespace";
    EXPECT_EQ(name_, L"");
    Suite().Answer(kChassisQuery, {});
    EXPECT_EQ(GetChassisPath(name_), kWbemFailed) << "none";
    Suite().Answer(kChassisQuery, {.objects = {MakeChassis(L"1"), MakeChassis(L"2")}});
    EXPECT_EQ(GetChassisPath(name_), kWbemFailed) << "two";
    EXPECT_EQ(name_, L"");
}

TEST_F(ComputerSystemTest, ChassisWithoutReadablePathIsAFailure) {
    Suite().Answer(kChassisQuery, {.objects = {FakeClassObject::Make()}});
    EXPECT_EQ(GetChassisPath(name_), kWbemFailed);
    EXPECT_EQ(name_, L"");
}

TEST_F(ComputerSystemTest, FullPathNamesTheServerOfTheClass) {
    // The first object counts, however many there are.
    const ComPtr<FakeClassObject> other = FakeClassObject::Make();
    other->SetText(L"__SERVER", L"OTHER");
    Suite().Answer(kClassQuery, {.objects = {MakeClass(), other}});
    CString& returned = MakeFullObjectPath(name_, L"root\\VKQ", L"Velk_PCISlot.Tag=\"100%d\"");
    EXPECT_EQ(&returned, &name_);
    EXPECT_EQ(name_, L"\\\\SERVER\\root\\VKQ:Velk_PCISlot.Tag=\"100%d\"");
}

TEST_F(ComputerSystemTest, FullPathMayReplaceItsOwnRelativePath) {
    Suite().Answer(kClassQuery, {.objects = {MakeClass()}});
    name_ = L"Velk_PCISlot.Tag=\"1\"";
    MakeFullObjectPath(name_, L"root\\VKQ", name_);
    EXPECT_EQ(name_, L"\\\\SERVER\\root\\VKQ:Velk_PCISlot.Tag=\"1\"");
}

TEST_F(ComputerSystemTest, FullPathWithoutServerBeginsWithThreeBackslashes) {
    EXPECT_EQ(MakeFullObjectPath(name_, L"root\\VKQ", L"R"), L"\\\\\\root\\VKQ:R") << "no namespace";
    Suite().Answer(kClassQuery, {});
    EXPECT_EQ(MakeFullObjectPath(name_, L"root\\VKQ", L"R"), L"\\\\\\root\\VKQ:R") << "no class";
    Suite().Answer(kClassQuery, {.objects = {FakeClassObject::Make()}});
    EXPECT_EQ(MakeFullObjectPath(name_, L"root\\VKQ", L"R"), L"\\\\\\root\\VKQ:R") << "no property";
}

TEST_F(ComputerSystemTest, EveryCallAsksAnew) {
    Suite().Answer(kClassQuery, {.objects = {MakeClass()}});
    for (int i = 0; i < 3; ++i) MakeFullObjectPath(name_, L"root\\VKQ", L"R");
    EXPECT_EQ(Suite().queries.size(), 3U);
    EXPECT_EQ(wmi_->connections.size(), 3U);
}

TEST(ComputerName, RealSystemHasOne) {
    CString name;
    EXPECT_EQ(GetLocalComputerName(name), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(name.empty());
}

}  // namespace
}  // namespace velk
