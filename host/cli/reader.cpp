#include "host/cli/reader.h"

#include <array>
#include <chrono>

#include "common/bstr.h"
#include "common/wbem_status.h"
#include "host/utf8.h"

namespace velkhost::cli {
namespace {

using Clock = std::chrono::steady_clock;

/// Tells of an enumeration that lasts: first after two seconds, then each time after twice as long.
class Progress {
  public:
    Progress(const Console& console, const std::wstring& className)
        : console_(console), className_(className) {}

    void Update(std::size_t objects) {
        if (Elapsed() < next_) return;
        next_ *= 2;
        Tell("still reading", objects);
    }
    void Tell(const char* what, std::size_t objects) const {
        const auto seconds = std::chrono::duration<double>(Elapsed()).count();
        char numbers[64];
        std::snprintf(numbers, sizeof(numbers), ": %zu instances, %.3f s\n", objects, seconds);
        console_.PrintError(std::string(what) + " " + Utf8FromWide(className_) + numbers);
    }

  private:
    Clock::duration Elapsed() const { return Clock::now() - start_; }

    const Console& console_;
    const std::wstring& className_;
    const Clock::time_point start_ = Clock::now();
    Clock::duration next_ = std::chrono::seconds(2);
};

/// The host's own class behind an object that its services gave.
velk::ComPtr<ClassObject> Adopt(IWbemClassObject* object) {
    const auto held = velk::ComPtr<IWbemClassObject>::Adopt(object);
    return velk::ComPtr<ClassObject>(ClassObject::From(held.Get()));
}

}  // namespace

HRESULT Reader::Enumerate(const std::wstring& className, Objects& out) const {
    constexpr LONG kSlice = 250;  // milliseconds between looks at the clock
    Progress progress(console_, className);
    const velk::Bstr name(className);
    velk::ComPtr<IEnumWbemClassObject> enumerator;
    const std::size_t before = out.size();
    HRESULT result = services_.CreateInstanceEnum(
        name.Get(), WBEM_FLAG_RETURN_IMMEDIATELY | WBEM_FLAG_FORWARD_ONLY, nullptr, enumerator.Put());
    if (FAILED(result)) return result;
    do {
        std::array<IWbemClassObject*, 64> batch{};
        ULONG returned = 0;
        result = enumerator->Next(kSlice, static_cast<ULONG>(batch.size()), batch.data(), &returned);
        for (ULONG i = 0; i < returned; ++i) out.push_back(Adopt(batch[i]));
        progress.Update(out.size() - before);
    } while (result == velk::kWbemNoError || result == velk::kWbemTimedOut);
    // A batch that a failure cut short ends like the last one: the next call tells which it was.
    if (result == velk::kWbemFalse) {
        IWbemClassObject* none = nullptr;
        ULONG returned = 0;
        result = enumerator->Next(0, 1, &none, &returned);
    }
    if (verbose_) progress.Tell("read", out.size() - before);
    return FAILED(result) ? result : velk::kWbemNoError;
}

HRESULT Reader::Get(const std::wstring& path, velk::ComPtr<ClassObject>& object) const {
    const velk::Bstr text(path);
    IWbemClassObject* found = nullptr;
    const HRESULT result = services_.GetObject(text.Get(), 0, nullptr, &found, nullptr);
    if (SUCCEEDED(result)) object = Adopt(found);
    return result;
}

}  // namespace velkhost::cli
