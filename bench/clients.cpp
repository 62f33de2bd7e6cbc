#include <algorithm>
#include <stdexcept>

#include "bench/benchmarks.h"
#include "bench/machine.h"
#include "bench/pnp_database.h"
#include "bench/rig.h"
#include "common/bstr.h"
#include "common/variant.h"
#include "host/services/apartment.h"

namespace velkbench {
namespace {

using velk::Bstr;
using velk::ComPtr;

ComPtr<IWbemServices> Connect(const wchar_t* nameSpace) {
    ComPtr<IWbemLocator> locator;
    ComPtr<IWbemServices> services;
    HRESULT status = ::CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                                        locator.PutVoid());
    if (SUCCEEDED(status)) {
        status = locator->ConnectServer(Bstr(nameSpace).Get(), nullptr, nullptr, nullptr, 0, nullptr, nullptr,
                                        services.Put());
    }
    if (FAILED(status)) throw std::runtime_error("a namespace cannot be connected to");
    return services;
}

/// The host makes providers as WMI does, from what is registered. Only in Wine's prefix: the devices were
/// exchanged before, which no other system allows.
void RegisterServer(HMODULE dll) {
    const auto registerServer = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(::GetProcAddress(dll, "DllRegisterServer")));
    if (registerServer == nullptr || FAILED(registerServer()))
        throw std::runtime_error("the DLL cannot be registered");
}

/// As any client: a query, and of each object one property.
long Query(IWbemServices& services, const wchar_t* query) {
    ComPtr<IEnumWbemClassObject> results;
    if (FAILED(services.ExecQuery(Bstr(L"WQL").Get(), Bstr(query).Get(),
                                  WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr,
                                  results.Put()))) {
        throw std::runtime_error("a query to be measured fails");
    }
    for (long count = 0;; ++count) {
        ComPtr<IWbemClassObject> object;
        ULONG returned = 0;
        if (results->Next(static_cast<LONG>(WBEM_INFINITE), 1, object.Put(), &returned) != S_OK) return count;
        velk::Variant value;
        object->Get(L"DeviceID", 0, value.Put(), nullptr, nullptr);
    }
}

}  // namespace

void MeasureClients(const Options& options, const Report& report) {
    const unsigned size = std::min(256U, options.largest);
    const velkhost::ComApartment apartment;
    const PnpDatabase database(MakeMachine(size));
    // Before the host takes the locator's place.
    const ComPtr<IWbemServices> wine = Connect(L"root\\cimv2");
    const Rig rig(MakeMachine(size));
    RegisterServer(rig.Dll());
    const ComPtr<IWbemServices> host = Connect(L"root\\VKQ");
    constexpr wchar_t kOurs[] = L"SELECT * FROM Velk_PCIDevice", kWines[] = L"SELECT * FROM Win32_PnPEntity";
    const long ours = Query(*host, kOurs), wines = Query(*wine, kWines);
    if (ours == 0 || wines == 0) throw std::runtime_error("a query to be measured gives nothing");
    Comparison comparison =
        Compare([&] { Query(*host, kOurs); }, [&] { Query(*wine, kWines); }, options.turns);
    const double factor = static_cast<double>(wines) / static_cast<double>(ours);
    for (double* each : {&comparison.ratio, &comparison.low, &comparison.high}) *each *= factor;
    comparison.subject /= static_cast<double>(ours);
    comparison.floor /= static_cast<double>(wines);
    report({"a device by a client's query, against Wine's own Win32_PnPEntity", "Velk_PCIDevice", size,
            comparison});
}

}  // namespace velkbench
