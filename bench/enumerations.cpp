#include <algorithm>
#include <map>
#include <stdexcept>

#include "bench/benchmarks.h"
#include "bench/machine.h"
#include "bench/near_free.h"
#include "bench/pnp_database.h"
#include "bench/recorder.h"
#include "bench/rig.h"

namespace velkbench {
namespace {

/// A provider of one class, and the platform's share of what one of its enumerations does.
class Contest {
  public:
    Contest(const Rig& rig, const velktest::ServedClass& served, const PlatformCalls& platform)
        : platform_(platform),
          provider_(rig.Host().MakeProvider(rig.Dll(), served)),
          classObject_(rig.ClassObject(served.name)) {
        Recorder recorder(rig.Dll(), platform, rig.Objects());
        const long instances = Enumerate(*provider_, *sink_);
        trace_ = recorder.Take();
        if (instances == 0 || std::ranges::count(trace_, Call::Kind::kSpawn, &Call::kind) != instances)
            throw std::runtime_error("an enumeration to be measured gives no instances");
    }

    void RunProvider() const { Enumerate(*provider_, *sink_); }
    void RunFloor() const {
        sink_->Begin();
        velkbench::RunFloor(trace_, platform_, *classObject_, *sink_);
        sink_->Finish();
    }
    Comparison Compare(int turns) const {
        return velkbench::Compare([this] { RunProvider(); }, [this] { RunFloor(); }, turns);
    }

  private:
    const PlatformCalls platform_;
    velk::ComPtr<IWbemServices> provider_;
    velk::ComPtr<IWbemClassObject> classObject_;
    velk::ComPtr<CountingSink> sink_ = CountingSink::Make();
    Trace trace_;
};

std::vector<unsigned> SizesUpTo(unsigned largest) {
    std::vector<unsigned> sizes;
    for (const unsigned size : {16U, 64U, 256U, 1024U, 4096U}) {
        if (size <= largest) sizes.push_back(size);
    }
    return sizes;
}

std::string Narrow(const std::wstring& text) { return {text.begin(), text.end()}; }

}  // namespace

void MeasureWithNearFreePlatform(const Options& options, const Report& report) {
    const Rig rig(MakeMachine(64));
    std::map<unsigned, Answers> machines;
    for (const unsigned size : SizesUpTo(options.largest)) machines.emplace(size, MakeMachine(size));
    NearFree nearFree(rig.Dll(), rig.Objects(), machines.begin()->second);
    for (const velktest::ServedClass& served : rig.Host().Classes()) {
        if (!options.Wants(served.name)) continue;
        for (const auto& [size, answers] : machines) {
            nearFree.Use(answers);
            const Contest contest(rig, served, NearFree::Calls());
            report({"enumeration against its floor, near-free platform", Narrow(served.name), size,
                    contest.Compare(options.turns)});
        }
    }
}

void MeasureWithWine(const Options& options, const Report& report) {
    // Beyond that Wine takes minutes to enumerate, whoever asks it.
    constexpr unsigned kMostFunctions = 1024;
    const Rig rig(MakeMachine(64));
    for (const unsigned size : SizesUpTo(std::min(options.largest, kMostFunctions))) {
        const PnpDatabase database(MakeMachine(size));
        for (const velktest::ServedClass& served : rig.Host().Classes()) {
            // The associations' own share is seen above; here they would cost minutes.
            const bool isOfFunctions = served.name == L"Velk_PCIDevice" || served.name == L"Velk_PCIBridge";
            if (!options.Wants(served.name) || (size > 64 && !isOfFunctions)) continue;
            const Contest contest(rig, served, PlatformCalls());
            report({"enumeration against its floor, Wine's SetupAPI and the host's WMI", Narrow(served.name),
                    size, contest.Compare(options.turns)});
        }
    }
}

void MeasureGrowth(const Options& options, const Report& report) {
    constexpr unsigned kSmall = 64;
    const unsigned large = options.largest / kSmall * kSmall;
    const Rig rig(MakeMachine(kSmall));
    const Answers few(MakeMachine(kSmall)), many(MakeMachine(large));
    NearFree nearFree(rig.Dll(), rig.Objects(), few);
    for (const wchar_t* name : {L"Velk_PCIDevice", L"Velk_PCIBridge", L"Velk_SystemPCIDevice"}) {
        const velktest::ServedClass& served = rig.Host().Class(name);
        const auto first = rig.Host().MakeProvider(rig.Dll(), served),
                   second = rig.Host().MakeProvider(rig.Dll(), served);
        const auto sink = CountingSink::Make();
        // Per record: so many enumerations of the small machine as give the records of the large one.
        const Comparison comparison = Compare(
            [&] {
                nearFree.Use(many);
                Enumerate(*first, *sink);
            },
            [&] {
                nearFree.Use(few);
                for (unsigned i = 0; i < large / kSmall; ++i) Enumerate(*second, *sink);
            },
            options.turns);
        report({"time per record, against a machine of 64 functions", Narrow(name), large, comparison});
    }
}

}  // namespace velkbench
