// Stands in for WMI in the tests of the package, as its locator and path parser: the namespaces hold what the
// stand-in for the MOF compiler was given, which keeps it in C:\wmi, and the firmware is that of the machine
// file C:\machine.json.

#include <algorithm>
#include <filesystem>
#include <optional>
#include <vector>

#include "host/com/class_factory.h"
#include "host/machine/machine.h"
#include "host/machine/machine_repository.h"
#include "host/path/path_parser.h"
#include "host/services/host_core.h"
#include "host/services/locator.h"

namespace {

namespace fs = std::filesystem;

std::optional<std::wstring> ComputerName(COMPUTER_NAME_FORMAT format) {
    wchar_t name[256];
    DWORD size = 256;
    return ::GetComputerNameExW(format, name, &size) ? std::optional<std::wstring>(name) : std::nullopt;
}

std::shared_ptr<velkhost::HostCore> MakeCore() {
    velkhost::Machine machine = velkhost::LoadMachine("C:\\machine.json");
    // What the suite would serve is for the tests to say.
    machine.suite = false;
    machine.objects.clear();
    // The provider asks the system for the names.
    machine.names = {ComputerName(ComputerNamePhysicalDnsFullyQualified),
                     ComputerName(ComputerNamePhysicalDnsHostname),
                     ComputerName(ComputerNamePhysicalNetBIOS)};
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator("C:\\wmi")) files.push_back(entry.path());
    std::ranges::sort(files);
    return std::make_shared<velkhost::HostCore>(velkhost::BuildRepository(files, &machine),
                                                velkhost::HostOptions{});
}

/// One for the process, never destroyed: clients let go of their objects when they like.
std::shared_ptr<velkhost::HostCore> Core() {
    static auto* const core = new auto(MakeCore());
    return *core;
}

}  // namespace

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** object) noexcept try {
    if (::IsEqualCLSID(clsid, CLSID_WbemLocator)) {
        return velkhost::MakeComObject<velkhost::ClassFactory>([](REFIID wanted, void** made) {
                   return velkhost::MakeComObject<velkhost::Locator>(Core())->QueryInterface(wanted, made);
               })
            ->QueryInterface(iid, object);
    }
    return velkhost::MakePathParserClass()->QueryInterface(iid, object);
} catch (...) {
    return E_FAIL;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() noexcept { return S_FALSE; }
