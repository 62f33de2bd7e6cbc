#include "tool/inventory/wmi_reader.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "common/bstr.h"
#include "common/wbem_status.h"
#include "host/com/wbem_codes.h"
#include "host/utf8.h"
#include "tool/inventory/qualifiers.h"

namespace velkpci {
namespace {

using Clock = std::chrono::steady_clock;
using velkhost::Utf8FromWide;

constexpr LONG kAtOnce = WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY;

/// Tells of an enumeration that lasts: first after two seconds, then each time after twice as long.
class Progress {
  public:
    Progress(const Console& console, const std::string& what) : console_(console), what_(what) {}

    void Update(std::size_t objects) {
        if (Elapsed() < next_) return;
        next_ *= 2;
        Tell("still reading", objects);
    }
    void Tell(const char* state, std::size_t objects) const {
        const auto seconds = std::chrono::duration<double>(Elapsed()).count();
        char numbers[64];
        std::snprintf(numbers, sizeof(numbers), ": %zu instances, %.3f s\n", objects, seconds);
        console_.PrintError(std::string(state) + " " + what_ + numbers);
    }

  private:
    Clock::duration Elapsed() const { return Clock::now() - start_; }

    const Console& console_;
    const std::string& what_;
    const Clock::time_point start_ = Clock::now();
    Clock::duration next_ = std::chrono::seconds(2);
};

}  // namespace

HRESULT WmiReader::ForEach(IEnumWbemClassObject& enumerator, const std::string& what,
                           const Receive& receive) {
    constexpr LONG kSlice = 250;  // milliseconds between looks at the clock
    constexpr ULONG kBatchSize = 64;
    Progress progress(console_, what);
    const bool isTold = verbose_ || console_.IsWatched();
    std::size_t count = 0;
    HRESULT result = source_.Protect(enumerator);
    while (SUCCEEDED(result) && result != velk::kWbemFalse) {
        std::array<IWbemClassObject*, kBatchSize> batch{};
        ULONG returned = 0;
        result = enumerator.Next(kSlice, kBatchSize, batch.data(), &returned);
        // All are taken over before one of them may end the reading.
        std::array<velk::ComPtr<IWbemClassObject>, kBatchSize> objects;
        for (ULONG i = 0; i < returned; ++i) objects[i] = velk::ComPtr<IWbemClassObject>::Adopt(batch[i]);
        for (ULONG i = 0; i < returned; ++i) {
            const HRESULT received = receive(*objects[i]);
            if (FAILED(received)) return received;
        }
        count += returned;
        if (isTold) progress.Update(count);
    }
    // A batch that a failure cut short ends like the last one: the next call tells which it was.
    if (result == velk::kWbemFalse) {
        velk::ComPtr<IWbemClassObject> none;
        ULONG returned = 0;
        result = enumerator.Next(0, 1, none.Put(), &returned);
    }
    if (verbose_) progress.Tell("read", count);
    return FAILED(result) ? result : velk::kWbemNoError;
}

HRESULT WmiReader::Read(IEnumWbemClassObject& enumerator, const std::string& what, Instances& out) {
    return ForEach(enumerator, what, [&](IWbemClassObject& object) {
        InstancePtr instance;
        const HRESULT result = objects_.Read(object, instance);
        if (SUCCEEDED(result)) out.push_back(std::move(instance));
        return result;
    });
}

ClassData WmiReader::Enumerate(const std::wstring& className) {
    ClassData data{className, nullptr, S_OK, {}};
    data.status = Definition(className, data.definition);
    // WMI has no path for a name of no class's form; as a class it is unknown like any other.
    if (data.status == velk::kWbemNotFound || data.status == velk::kWbemInvalidObjectPath)
        data.status = static_cast<HRESULT>(WBEM_E_INVALID_CLASS);
    if (FAILED(data.status)) return data;
    data.name = data.definition->name;
    const velk::Bstr name(data.name);
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    data.status = source_.Services().CreateInstanceEnum(name.Get(), kAtOnce, nullptr, enumerator.Put());
    if (SUCCEEDED(data.status)) data.status = Read(*enumerator, Utf8FromWide(data.name), data.instances);
    return data;
}

ClassData WmiReader::Query(const std::wstring& wql) {
    ClassData data;
    const velk::Bstr language(L"WQL"), text(wql);
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    data.status =
        source_.Services().ExecQuery(language.Get(), text.Get(), kAtOnce, nullptr, enumerator.Put());
    if (SUCCEEDED(data.status)) data.status = Read(*enumerator, "the query", data.instances);
    if (!data.instances.empty()) {
        data.definition = data.instances.front()->definition;
        data.name = data.definition->name;
    }
    return data;
}

HRESULT WmiReader::Get(const std::wstring& path, InstancePtr& out) {
    const velk::Bstr text(path);
    velk::ComPtr<IWbemClassObject> object;
    const HRESULT result = source_.Services().GetObject(text.Get(), 0, nullptr, object.Put(), nullptr);
    return FAILED(result) ? result : objects_.Read(*object, out);
}

HRESULT WmiReader::ClassNames(std::vector<std::wstring>& out, bool withSystemClasses) {
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    const velk::Bstr all(L"");
    const HRESULT result =
        source_.Services().CreateClassEnum(all.Get(), WBEM_FLAG_DEEP | kAtOnce, nullptr, enumerator.Put());
    if (FAILED(result)) return result;
    const HRESULT read = ForEach(*enumerator, "the classes", [&](IWbemClassObject& object) {
        velk::Variant name;
        const HRESULT got = object.Get(L"__CLASS", 0, name.Put(), nullptr, nullptr);
        if (FAILED(got) || name.Type() != VT_BSTR) return got;
        if (withSystemClasses || !name.Text().starts_with(L"__")) out.emplace_back(name.Text());
        return got;
    });
    std::sort(out.begin(), out.end());
    return read;
}

bool WmiReader::HasInstances(const ClassDef& definition) {
    if (!definition.Provider().empty()) return true;
    if (IsMarked(definition, L"Abstract")) return false;
    const velk::Bstr name(definition.name);
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    const HRESULT result = source_.Services().CreateInstanceEnum(name.Get(), WBEM_FLAG_SHALLOW | kAtOnce,
                                                                 nullptr, enumerator.Put());
    if (FAILED(result) || FAILED(source_.Protect(*enumerator))) return false;
    velk::ComPtr<IWbemClassObject> first;
    ULONG returned = 0;
    return SUCCEEDED(enumerator->Next(velkhost::kWbemInfinite, 1, first.Put(), &returned)) && returned == 1;
}

}  // namespace velkpci
