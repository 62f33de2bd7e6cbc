#include <stdexcept>

#include "bench/benchmarks.h"
#include "common/common_log.h"
#include "common/function_log.h"
#include "common/log_file.h"
#include "support/registry_fixture.h"
#include "support/temp_folder.h"

namespace velkbench {
namespace {

/// What a line costs when nothing but the file is touched.
void WriteBareLine(const velk::CString& path, const velk::CString& line) {
    const velk::UniqueFile file(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS, 0,
                                              nullptr));
    ::SetFilePointerEx(file.Get(), {}, nullptr, FILE_END);
    DWORD written = 0;
    if (!::WriteFile(file.Get(), line.data(), static_cast<DWORD>(line.size() * sizeof(wchar_t)), &written,
                     nullptr))
        throw std::runtime_error("a line to be measured cannot be written");
}

}  // namespace

void MeasureLog(const Options& options, const Report& report) {
    velktest::RegistryFixture registry;
    const velktest::TempFolder folder;
    registry.SetText(velktest::kCommonLogKey, L"LogFolder", folder.Path());
    velk::CCommonLog& log = velk::CommonLogObject().Create();
    log.LogInit(L"Bench", L"velkbench.exe");

    const velk::FunctionLog site(L"CVelkPCIDeviceProv", L"CreateInstanceEnumAsync");
    const velk::CString line(100, L'x');
    report({"a line of the log against open, seek, write, close", "Information", 0,
            Compare([&] { site.Information(L"Returning %d instances", 32); },
                    [&] { WriteBareLine(folder.Path(L"bare.log"), line); }, options.turns)});
    if (velktest::ReadBytes(folder.Path(L"Bench.log")).empty())
        throw std::runtime_error("the log to be measured wrote nothing");

    registry.SetDword(velktest::kCommonLogKey, L"LogLevel", 5);
    log.LogReset();
    const double silent = Median(
        [&] {
            for (int i = 0; i < 1000; ++i) site.Verbose(L"Entering");
        },
        options.turns);
    report({"a line that the level keeps back", "Verbose at level 5", 0, {}, silent / 1000, "ns"});
    velk::CommonLogObject().Destroy();
}

}  // namespace velkbench
