// Several host processes at once, on the same named locks and the same log files.

#include <gmock/gmock.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "support/child_process.h"
#include "support/hosted/hosted_dll.h"
#include "support/hosted/project_folder.h"
#include "support/hosted/provider_bench.h"
#include "support/log_line.h"
#include "support/long_run.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace {

using velktest::Answer;
using velktest::ChildProcess;
using velktest::Enumerate;
using velktest::HostedDll;
using velktest::IsLongRun;

constexpr int kProcesses = 4;
constexpr int kThreads = 2;  // of each process

/// What the processes of a test share: memory that is all zero at first.
struct Shared {
    std::atomic<LONG> ready;   ///< processes that wait for the start
    std::atomic<LONG> inside;  ///< threads in the device database
    std::atomic<LONG> most;    ///< of them at once
    std::atomic<LONG> entries;
};
static_assert(std::atomic<LONG>::is_always_lock_free);

class SharedMemory {
  public:
    SharedMemory() {
        mapping_.Reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Shared),
                                            L"velk-processes-load"));
        view_ = static_cast<Shared*>(::MapViewOfFile(mapping_.Get(), FILE_MAP_WRITE, 0, 0, sizeof(Shared)));
    }
    ~SharedMemory() { ::UnmapViewOfFile(view_); }
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    Shared* operator->() const { return view_; }

    /// Waits until every process has come this far, but no longer than a minute: one may have failed.
    void AwaitOthers() const {
        ++view_->ready;
        for (int waited = 0; view_->ready < kProcesses && waited < 60000; ++waited) ::Sleep(1);
    }

  private:
    velk::UniqueHandle mapping_;
    Shared* view_;
};

/// The processes of a test, which all run the same disabled test, each with its number.
std::vector<std::unique_ptr<ChildProcess>> StartProcesses(const wchar_t* test) {
    std::vector<std::unique_ptr<ChildProcess>> children;
    for (int number = 0; number < kProcesses; ++number) {
        children.push_back(std::make_unique<ChildProcess>(
            velk::FormatText(L"Each/LoadProcess.DISABLED_%s/%d", test, number)));
    }
    return children;
}

/// The process with its number.
class LoadProcess : public testing::TestWithParam<int> {
  protected:
    static void RunThreads(const std::function<void()>& body) {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([&] {
                const velktest::Apartment apartment;
                body();
            });
        }
        for (std::thread& thread : threads) thread.join();
    }

    velktest::Apartment apartment_;
    SharedMemory shared_;
};

INSTANTIATE_TEST_SUITE_P(Each, LoadProcess, testing::Range(0, kProcesses));

/// The test that starts the processes. They find the configuration that it makes.
class ProcessesLoad : public testing::Test {
  protected:
    ProcessesLoad() {
        registry_.SetText(velktest::kCommonLogKey, L"LogFolder", folder_.Path());
        registry_.SetText(velktest::kLegacyLogKey, L"LOGFILENAME", folder_.Path(L"legacy.log"));
    }

    velktest::RegistryFixture registry_;
    velktest::TempFolder folder_;
    velktest::Apartment apartment_;
    SharedMemory shared_;
};

// The locks.

const int kEnumerations = IsLongRun() ? 2000 : 25;  // of each thread

const SharedMemory* watched = nullptr;
decltype(&::SetupDiGetClassDevsW) getClassDevsBelow = nullptr;

/// The device database is read under the lock of the provider's class.
HDEVINFO WINAPI WatchedGetClassDevs(const GUID* setupClass, PCWSTR enumerator, HWND parent, DWORD flags) {
    const LONG inside = ++(*watched)->inside;
    LONG most = (*watched)->most;
    while (inside > most && !(*watched)->most.compare_exchange_weak(most, inside)) continue;
    ++(*watched)->entries;
    ::Sleep(1);
    const HDEVINFO set = getClassDevsBelow(setupClass, enumerator, parent, flags);
    --(*watched)->inside;
    return set;
}

TEST_P(LoadProcess, DISABLED_EnumeratesOneClass) {
    HostedDll dll(velktest::LoadSampleMachine("tower-with-gaps"));
    const Answer expected = Enumerate(*dll.MakeProvider(L"Velk_PCIDevice"));
    ASSERT_FALSE(expected.texts.empty());
    const velkhost::ImportRedirect watch(dll.Module(), "SetupDiGetClassDevsW",
                                         reinterpret_cast<void*>(&WatchedGetClassDevs));
    watched = &shared_;
    getClassDevsBelow = watch.Original<decltype(&::SetupDiGetClassDevsW)>();
    shared_.AwaitOthers();
    std::atomic<int> wrong = 0;
    RunThreads([&] {
        const auto provider = dll.MakeProvider(L"Velk_PCIDevice");
        for (int round = 0; round < kEnumerations; ++round) wrong += Enumerate(*provider) != expected;
    });
    EXPECT_EQ(wrong, 0);
}

TEST_F(ProcessesLoad, OneClassIsWorkedOnByOneProcessAtATime) {
    for (const auto& child : StartProcesses(L"EnumeratesOneClass")) EXPECT_EQ(child->Wait(), 0U);
    EXPECT_EQ(shared_->entries, kProcesses * kThreads * kEnumerations);
    EXPECT_EQ(shared_->most, 1);
    EXPECT_EQ(velktest::ReadBytes(folder_.Path(L"legacy.log")), "") << "no lock failed";
}

HDEVINFO WINAPI DieInTheDeviceDatabase(const GUID*, PCWSTR, HWND, DWORD) {
    ::TerminateProcess(::GetCurrentProcess(), 77);
    return nullptr;
}

TEST_P(LoadProcess, DISABLED_DiesWhileItHoldsTheLocks) {
    HostedDll dll(velktest::LoadSampleMachine("tower-with-gaps"));
    const velkhost::ImportRedirect death(dll.Module(), "SetupDiGetClassDevsW",
                                         reinterpret_cast<void*>(&DieInTheDeviceDatabase));
    Enumerate(*dll.MakeProvider(L"Velk_PCIDevice"));
}

TEST_F(ProcessesLoad, TheLockOfAProcessThatDiedIsTakenOverAndReportedOnce) {
    HostedDll dll(velktest::LoadSampleMachine("tower-with-gaps"));
    const auto provider = dll.MakeProvider(L"Velk_PCIDevice");
    const Answer expected = Enumerate(*provider);
    ASSERT_FALSE(expected.texts.empty());

    ChildProcess child(L"Each/LoadProcess.DISABLED_DiesWhileItHoldsTheLocks/0");
    ASSERT_EQ(child.Wait(), 77U);
    EXPECT_EQ(Enumerate(*provider), expected);
    EXPECT_EQ(Enumerate(*provider), expected);
    const std::string legacyLog = velktest::ReadBytes(folder_.Path(L"legacy.log"));
    EXPECT_THAT(legacyLog,
                testing::MatchesRegex(" \\[../../.... ..:..:..:...\\] \\[Error\\] - "
                                      "Mutex::CreateSemaphore\\(Mutex\\) failed.  Last error:  \\d+\r\n"));
}

// The log.

/// Small: a log of some twenty lines. The lines of loading fit in all the same.
constexpr DWORD kSmallLog = 8000;
const int kLines = IsLongRun() ? 10000 : 250;  // of each thread

decltype(&::DeleteFileW) deleteFileBelow = nullptr;

/// Keeps what a rotation throws away. Called with the log's machine-wide mutex held, so one process after the
/// other.
BOOL WINAPI KeepOldLog(LPCWSTR path) {
    velk::CString kept(path);
    kept.replace(kept.rfind(L'\\') + 1, velk::CString::npos, L"kept.log");
    std::FILE* const file = ::_wfopen(kept.c_str(), L"ab");
    const std::string old = velktest::ReadBytes(path);
    std::fwrite(old.data(), 1, old.size(), file);
    std::fclose(file);
    return deleteFileBelow(path);
}

/// Each process has a class of its own, by which its lines are told from those of the others.
const wchar_t* const kWriters[kProcesses] = {L"Velk_PCIDevice", L"Velk_PCIBridge", L"Velk_PCISlot",
                                             L"Velk_PCICard"};

/// Writes one line: "Entering".
void WriteLine(IWbemServices& provider) { provider.ExecQueryAsync(nullptr, nullptr, 0, nullptr, nullptr); }

TEST_P(LoadProcess, DISABLED_WritesLines) {
    // Never unloaded, because the line about that could rotate unseen.
    auto* const dll = new HostedDll(velktest::LoadSampleMachine("no-devices"));
    const auto provider = dll->MakeProvider(kWriters[GetParam()]);
    auto* const keep =
        new velkhost::ImportRedirect(dll->Module(), "DeleteFileW", reinterpret_cast<void*>(&KeepOldLog));
    deleteFileBelow = keep->Original<decltype(&::DeleteFileW)>();
    shared_.AwaitOthers();
    RunThreads([&] {
        for (int line = 0; line < kLines; ++line) WriteLine(*provider);
    });
}

TEST_F(ProcessesLoad, LogsThatRotateAllTheTimeTearNoLineAndLoseNone) {
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 1);
    registry_.SetDword(velktest::kCommonLogKey, L"LogMaxSize", kSmallLog);
    for (const auto& child : StartProcesses(L"WritesLines")) EXPECT_EQ(child->Wait(), 0U);

    const velk::CString kept = velktest::ReadWide(folder_.Path(L"kept.log"));
    const velk::CString all = kept + velktest::ReadWide(folder_.Path(L"VelkWBEMServer.lo_")) +
                              velktest::ReadWide(folder_.Path(L"VelkWBEMServer.log"));
    const std::size_t size = kept.size() * sizeof(wchar_t);
    EXPECT_GT(size / (2 * kSmallLog), 10U) << "rotations";
    std::printf("%zu rotations of %lu bytes and a line\n", size / kSmallLog, kSmallLog);

    EXPECT_THAT(all, testing::EndsWith(L"\r\n"));
    std::map<std::wstring, int> lines;
    for (const std::wstring& line : velktest::SplitLines(all)) {
        const auto whole = velktest::ParseLogLine(line);
        ASSERT_TRUE(whole) << testing::PrintToString(line);
        EXPECT_THAT(whole->level, testing::AnyOf(L"Verbose", L"Information"));
        ++lines[whole->className + L"::" + whole->method];
    }
    for (const wchar_t* const name :
         {L"CVelkPCIDeviceProv", L"CVelkPCIBridgeProv", L"CVelkPCISlotProv", L"CVelkPCICardProv"}) {
        EXPECT_EQ(lines[std::wstring(name) + L"::ExecQueryAsync"], kThreads * kLines);
    }
    EXPECT_EQ(lines[L"CCommonLog::LogInit"], kProcesses);
}

BOOL WINAPI DieInTheMiddleOfALine(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED how) {
    ::WriteFile(file, data, size / 4 * 2, written, how);
    ::TerminateProcess(::GetCurrentProcess(), 77);
    return FALSE;
}

TEST_P(LoadProcess, DISABLED_DiesInTheMiddleOfALine) {
    HostedDll dll(velktest::LoadSampleMachine("no-devices"));
    const auto provider = dll.MakeProvider(L"Velk_PCIDevice");
    const velkhost::ImportRedirect death(dll.Module(), "WriteFile",
                                         reinterpret_cast<void*>(&DieInTheMiddleOfALine));
    WriteLine(*provider);
}

TEST_F(ProcessesLoad, AWriterThatDiesInTheMiddleOfALineHoldsNobodyUp) {
    registry_.SetDword(velktest::kCommonLogKey, L"LogLevel", 1);
    HostedDll dll(velktest::LoadSampleMachine("no-devices"));
    const auto provider = dll.MakeProvider(L"Velk_PCIDevice");
    ChildProcess child(L"Each/LoadProcess.DISABLED_DiesInTheMiddleOfALine/0");
    ASSERT_EQ(child.Wait(), 77U);
    WriteLine(*provider);
    WriteLine(*provider);
    const velk::CString log = velktest::ReadWide(folder_.Path(L"VelkWBEMServer.log"));
    const velk::CString line = L" [Verbose] VelkWmiPci.DLL!CVelkPCIDeviceProv::ExecQueryAsync| Entering\r\n";
    ASSERT_THAT(log, testing::EndsWith(line));
    EXPECT_NE(log.find(line), log.rfind(line)) << "the line before it is whole, too";
}

}  // namespace
