#include "bench/floor.h"

#include <array>
#include <stdexcept>
#include <utility>

#include "common/bstr.h"
#include "common/com_ptr.h"

namespace velkbench {
namespace {

using velk::Bstr;
using velk::ComPtr;

/// One run. What a call gives is kept until the next call of its kind replaces it.
class Floor {
  public:
    Floor(const PlatformCalls& platform, IWbemClassObject& classObject)
        : platform_(platform), class_(classObject) {
        device_.cbSize = sizeof device_;
    }

    void Make(const Call& call) {
        switch (call.kind) {
            case Call::Kind::kGetClassDevs:
                devices_ = platform_.getClassDevs(nullptr, L"PCI", nullptr, call.first);
                return;
            case Call::Kind::kEnumDevice:
                platform_.enumDevice(devices_, call.first, &device_);
                return;
            case Call::Kind::kReadProperty:
                platform_.readProperty(devices_, &device_, call.first, nullptr, buffer_.data(), call.second,
                                       &size_);
                return;
            case Call::Kind::kDestroyDevices:
                platform_.destroyDevices(devices_);
                return;
            case Call::Kind::kComputerName:
                size_ = call.second;
                platform_.computerName(static_cast<COMPUTER_NAME_FORMAT>(call.first), name_.data(), &size_);
                return;
            case Call::Kind::kOpenFile:
                OpenFile(call);
                return;
            default:
                AskWmi(call);
        }
    }

    std::vector<ComPtr<IWbemClassObject>>& Instances() { return instances_; }

  private:
    void OpenFile(const Call& call) const {
        const HANDLE file =
            platform_.openFile(call.text.c_str(), GENERIC_READ | GENERIC_WRITE,
                               FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
        if (file != INVALID_HANDLE_VALUE) ::CloseHandle(file);
    }

    void AskWmi(const Call& call) {
        switch (call.kind) {
            case Call::Kind::kCreateLocator:
                Check(platform_.createInstance(CLSID_WbemLocator, nullptr, call.first, IID_IWbemLocator,
                                               Fresh(locator_).PutVoid()));
                return;
            case Call::Kind::kConnect:
                Check(locator_->ConnectServer(Bstr(call.text).Get(), nullptr, nullptr, nullptr, 0, nullptr,
                                              nullptr, Fresh(services_).Put()));
                return;
            case Call::Kind::kQuery:
                Check(services_->ExecQuery(Bstr(L"WQL").Get(), Bstr(call.text).Get(),
                                           static_cast<LONG>(call.first), nullptr, Fresh(results_).Put()));
                return;
            case Call::Kind::kNext:
                Next(static_cast<LONG>(call.first), call.second);
                return;
            case Call::Kind::kGet:
                batch_[call.first]->Get(call.text.c_str(), 0, value_.Put(), nullptr, nullptr);
                return;
            case Call::Kind::kSpawn:
                instances_.emplace_back();
                Check(class_.SpawnInstance(0, instances_.back().Put()));
                return;
            case Call::Kind::kPut:
                // The value is made for the call, as whoever calls must.
                ::VariantCopy(value_.Put(), const_cast<VARIANT*>(&call.value.Get()));
                instances_.back()->Put(call.text.c_str(), 0, value_.Address(), 0);
                return;
            default:
                throw std::logic_error("a call of no kind");
        }
    }

    void Next(LONG timeout, ULONG count) {
        std::array<IWbemClassObject*, 16> objects{};
        if (count > objects.size()) throw std::logic_error("a batch of an unknown size");
        ULONG returned = 0;
        results_->Next(timeout, count, objects.data(), &returned);
        if (returned == 0) return;
        for (ULONG i = 0; i < objects.size(); ++i) batch_[i] = ComPtr<IWbemClassObject>::Adopt(objects[i]);
    }

    static void Check(HRESULT status) {
        if (FAILED(status))
            throw std::runtime_error("the floor's calls do not succeed as the provider's did");
    }

    template <class Interface>
    static ComPtr<Interface>& Fresh(ComPtr<Interface>& held) {
        held.Reset();
        return held;
    }

    const PlatformCalls& platform_;
    IWbemClassObject& class_;
    HDEVINFO devices_ = INVALID_HANDLE_VALUE;
    SP_DEVINFO_DATA device_{};
    std::array<BYTE, 4096> buffer_;
    std::array<wchar_t, 8192> name_;
    DWORD size_ = 0;
    ComPtr<IWbemLocator> locator_;
    ComPtr<IWbemServices> services_;
    ComPtr<IEnumWbemClassObject> results_;
    std::array<ComPtr<IWbemClassObject>, 16> batch_;
    velk::Variant value_;
    std::vector<ComPtr<IWbemClassObject>> instances_;
};

}  // namespace

void RunFloor(const Trace& trace, const PlatformCalls& platform, IWbemClassObject& classObject,
              IWbemObjectSink& sink) {
    Floor floor(platform, classObject);
    for (const Call& call : trace) floor.Make(call);
    std::vector<IWbemClassObject*> delivered;
    delivered.reserve(floor.Instances().size());
    for (const auto& instance : floor.Instances()) delivered.push_back(instance.Get());
    if (!delivered.empty()) sink.Indicate(static_cast<LONG>(delivered.size()), delivered.data());
    sink.SetStatus(WBEM_STATUS_COMPLETE, S_OK, nullptr, nullptr);
}

}  // namespace velkbench
