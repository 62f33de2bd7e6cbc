#pragma once

#include <functional>
#include <string>

#include "bench/table.h"

namespace velkbench {

struct Options {
    int turns = 5;
    unsigned largest = 4096;  ///< how many PCI functions the largest machine has
    std::string only;         ///< part of the names of the WMI classes to measure; all without
    bool Wants(const std::wstring& className) const {
        return className.find(std::wstring(only.begin(), only.end())) != std::wstring::npos;
    }
};

using Report = std::function<void(const Row&)>;

/// Every class against its floor: first with stand-ins that cost close to nothing, so that the provider's own
/// share is seen; then with what the platform costs under Wine.
void MeasureWithNearFreePlatform(const Options& options, const Report& report);
void MeasureWithWine(const Options& options, const Report& report);
/// Whether a record of a large machine costs more than one of a small machine.
void MeasureGrowth(const Options& options, const Report& report);
/// A get by path, the log, the module's own costs.
void MeasureRequests(const Options& options, const Report& report);
void MeasureLog(const Options& options, const Report& report);
void MeasureModule(const Options& options, const Report& report);
/// What a user would ask instead.
void MeasureClients(const Options& options, const Report& report);

}  // namespace velkbench
