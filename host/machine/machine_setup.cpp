#include "host/machine/machine_setup.h"

#include <algorithm>
#include <utility>

#include "host/services/registered_server.h"

namespace velkhost {
namespace {

namespace fs = std::filesystem;

constexpr const wchar_t* kProductMof = L"VelkWmiPci.mof";
constexpr const wchar_t* kStandaloneMof = L"standalone.mof";
constexpr std::size_t kLongestPath = 32768;  // characters

bool IsOfSuite(const SuiteObject& object) {
    return std::any_of(std::begin(kSuiteClasses), std::end(kSuiteClasses),
                       [&](const wchar_t* name) { return SameName(object.className, name); });
}

bool HasSuite(const Machine& machine) {
    return machine.suite || std::any_of(machine.objects.begin(), machine.objects.end(), IsOfSuite);
}

}  // namespace

fs::path FileOfModule(HMODULE module) {
    std::wstring file(kLongestPath, L'\0');
    file.resize(::GetModuleFileNameW(module, file.data(), static_cast<DWORD>(file.size())));
    return fs::path(file);
}

fs::path FindShippedMof(const fs::path& folder) {
    for (fs::path place = folder; !place.empty(); place = place.parent_path()) {
        if (fs::exists(place / L"mof" / kProductMof)) return place / L"mof";
        if (place == place.parent_path()) break;
    }
    throw MachineError("no folder \"mof\" with VelkWmiPci.mof beside the program or above it");
}

std::vector<fs::path> ShippedMofFiles(const Machine* machine, bool standalone, const fs::path& mofFolder) {
    std::vector<fs::path> files = {mofFolder / kProductMof};
    if (standalone || (machine != nullptr && HasSuite(*machine))) files.push_back(mofFolder / kStandaloneMof);
    return files;
}

ReplayedProvider::ReplayedProvider(const Repository& repository, const std::wstring& nameSpace,
                                   Machine machine) {
    for (const std::wstring& name : repository.ClassNames(nameSpace)) {
        const auto clsid = repository.ProviderClsid(nameSpace, name);
        auto file = clsid ? RegisteredServer(*clsid) : std::nullopt;
        if (!file) continue;
        provider_.Reset(::LoadLibraryExW(file->c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        if (!provider_) continue;
        file_ = std::move(file);
        replay_.emplace(provider_.Get(), std::move(machine));
        return;
    }
}

}  // namespace velkhost
