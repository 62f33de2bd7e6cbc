#include <algorithm>
#include <set>

#include "host/path/object_path.h"
#include "host/utf8.h"
#include "tool/check/judge.h"
#include "tool/check/provider_classes.h"
#include "tool/inventory/names.h"
#include "tool/inventory/status_names.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;
using velkhost::WideFromUtf8;

/// Whether a path leads to a class that the provider serves; the others are the suite's, which WMI without a
/// suite and the DLL without WMI name each in its way.
bool LeadsToOwnClass(const std::wstring& path) {
    const auto parsed = velkhost::ParseObjectPath(path);
    return parsed && std::ranges::any_of(kProviderClasses, [&](const ProviderClass& each) {
               return SameName(each.name, parsed->className);
           });
}

/// What tells an instance from the others of its class, whoever was asked: its path, or of an association the
/// paths of its ends without their server.
std::wstring KeyOf(const Instance& instance) {
    std::wstring key;
    for (std::size_t i = 0; i < instance.values.size(); ++i) {
        const auto* path = instance.values[i].As<std::wstring>();
        const bool isReference = instance.definition->properties[i].type == CimType{Cim::kReference, false};
        if (isReference && path != nullptr && LeadsToOwnClass(*path)) key += PathIdentity(*path) + L"\n";
    }
    return key.empty() ? PathIdentity(instance.relativePath) : key;
}

std::multiset<std::wstring> KeysOf(const ClassData& data) {
    std::multiset<std::wstring> keys;
    for (const InstancePtr& instance : data.instances) keys.insert(KeyOf(*instance));
    return keys;
}

/// How WMI's answer and the DLL's own differ; empty when they do not.
std::string DescribeDifference(const ClassData& wmi, const ClassData& inProcess) {
    if (FAILED(inProcess.status)) return "in process it fails: " + DescribeStatus(inProcess.status);
    const auto here = KeysOf(wmi);
    const auto there = KeysOf(inProcess);
    if (here == there) return {};
    std::vector<std::wstring> missing;
    std::ranges::set_symmetric_difference(here, there, std::back_inserter(missing));
    return Counted(inProcess.instances.size(), "instance") + " in process, first difference " +
           Utf8FromWide(missing.front());
}

std::string MendOfAnswer(HRESULT status) {
    const std::string general = MendOf(status);
    return general.empty() ? "see the page on troubleshooting, and the provider's log" : general;
}

Verdict JudgeClass(const Facts& facts, const ClassSetup& setup) {
    const Answers& told = *facts.Told();
    const std::wstring name = WideFromUtf8(setup.name);
    const ClassData* data = told.inventory.Class(name);
    if (data == nullptr || !setup.isCompiled) return NotApplicable(setup.name, "is not compiled");
    if (FAILED(data->status))
        return Failed(setup.name, DescribeStatus(data->status), MendOfAnswer(data->status));
    if (setup.got && FAILED(*setup.got))
        return Failed(
            setup.name, "a get of its first instance: " + DescribeStatus(*setup.got),
            "WMI splits the path otherwise than the provider: keep the path and the Windows version");
    if (!setup.gotOther.empty())
        return Failed(setup.name, "a get of its first instance gave " + setup.gotOther,
                      "two instances have one path: see the limits on the class's page");
    const std::string count = Counted(data->instances.size(), "instance");
    if (&told != (facts.wmi ? &*facts.wmi : nullptr)) return Passed(setup.name, count + " in process");
    if (!facts.inProcess || FAILED(facts.inProcess->connected)) return Passed(setup.name, count);
    const ClassData* inProcess = facts.inProcess->inventory.Class(name);
    const std::string difference =
        inProcess == nullptr ? "in process it was not asked" : DescribeDifference(*data, *inProcess);
    if (!difference.empty())
        return Failed(
            setup.name, count + " through WMI; " + difference,
            "the host's account sees something else than yours, or serves another DLL: end the host, "
            "and check again");
    return Passed(setup.name, count + ", the same keys in process");
}

Verdict JudgeResolutions(const Answers& told) {
    const std::string point = "associations";
    if (told.resolutions.empty()) return NotApplicable(point, "there is no association instance");
    for (const Resolution& each : told.resolutions) {
        for (const HRESULT end : {each.from, each.to}) {
            if (FAILED(end))
                return Failed(point, each.path + " leads to nothing: " + DescribeStatus(end),
                              "is the suite, or standalone.mof, there, and one chassis alone?");
        }
    }
    return Passed(point, "both ends are there, of " + Counted(told.resolutions.size(), "instance"));
}

Verdict JudgeServerName(const Answers& told) {
    const std::string point = "server in paths";
    const auto& links = told.inventory.links;
    if (links.empty()) return NotApplicable(point, "there is no association instance");
    for (const Link& link : links) {
        for (const std::string& path : {link.from, link.to}) {
            if (path.starts_with("\\\\") && !path.starts_with("\\\\\\")) continue;
            return Failed(
                point,
                (path.empty() ? "an end of " + Utf8FromWide(link.instance->path) : path) + " names no server",
                "the computer-system class is missing, or the host's account is refused the namespace");
        }
    }
    return Passed(point, links.front().to.substr(0, links.front().to.find('\\', 2)));
}

}  // namespace

void JudgeAnswers(const Facts& facts, std::vector<Verdict>& verdicts) {
    if (facts.inProcess && FAILED(facts.inProcess->connected))
        verdicts.push_back(Failed("provider without WMI", facts.inProcess->refusal,
                                  "keep the folder \"mof\" beside velkpci.exe"));
    const Answers* told = facts.Told();
    if (told == nullptr) return;
    for (const ClassSetup& setup : told->setups) verdicts.push_back(JudgeClass(facts, setup));
    verdicts.push_back(JudgeResolutions(*told));
    verdicts.push_back(JudgeServerName(*told));
}

}  // namespace velkpci
