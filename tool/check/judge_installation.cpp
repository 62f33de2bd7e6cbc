#include <algorithm>
#include <cstdio>

#include "tool/check/judge.h"
#include "tool/inventory/status_names.h"

namespace velkpci {
namespace {

constexpr char kElsewhere[] = "asked of another computer";
constexpr char kCompile[] = "run \"velkpci setup compile\" as administrator";

Verdict JudgeRegistered(const Registration& registration) {
    const std::string point = "registration";
    if (!registration.missing.empty())
        return Failed(point, "COM has no server for " + Joined(registration.missing),
                      "run \"regsvr32 VelkWmiPci.dll\" as administrator, with the regsvr32 of System32");
    if (registration.files.size() > 1) {
        std::vector<std::string> paths;
        for (const ServerFile& file : registration.files) paths.push_back(file.path);
        return Failed(
            point, "the classes are served by several files: " + Joined(paths),
            "unregister the one that is not to be used: regsvr32 /u FILE, then register the other again");
    }
    return Passed(point, "ten classes, " + registration.files.front().path);
}

Verdict JudgeLoaded(const Registration& registration) {
    const std::string point = "provider DLL";
    if (registration.files.empty()) return NotApplicable(point, "no DLL is registered");
    for (const ServerFile& file : registration.files) {
        if (file.loadError == 0) continue;
        return Failed(
            point, file.path + " does not load: error " + std::to_string(file.loadError),
            "2, 3, 126: it is not where it was registered; 5: no right to read it; 193: not the 64-bit DLL; "
            "577, 1260: a policy forbids it");
    }
    return Passed(point, "loads");
}

Verdict JudgeVersions(const Facts& facts) {
    const std::string point = "versions";
    if (facts.registration->files.empty()) return NotApplicable(point, "no DLL is registered");
    for (const ServerFile& file : facts.registration->files) {
        if (file.version == facts.programVersion) continue;
        return Failed(point,
                      "velkpci is " + facts.programVersion + ", " + file.path + " is " +
                          (file.version.empty() ? "without a version" : file.version),
                      "use the program of the same package, or install the package again");
    }
    return Passed(point, "velkpci and the DLL are " + facts.programVersion);
}

Verdict JudgeConnected(const Answers& answers) {
    const std::string point = "namespace";
    if (FAILED(answers.connected)) return Failed(point, answers.refusal, MendOf(answers.connected));
    return Passed(point, answers.inventory.source.nameSpace);
}

Verdict JudgeCompiled(const Answers& answers) {
    std::vector<std::string> missing;
    for (const ClassSetup& setup : answers.setups) {
        if (!setup.isCompiled) missing.push_back(setup.name);
    }
    if (!missing.empty()) return Failed("classes", "not compiled: " + Joined(missing), kCompile);
    return Passed("classes", "ten are compiled");
}

/// What is wrong with a class's provider; empty when all is as the MOF says.
std::string ProviderFault(const ClassSetup& setup) {
    if (setup.provider.empty()) return "names no provider";
    if (setup.clsid.empty()) return "its provider " + setup.provider + " is not there";
    if (setup.clsid != setup.expectedClsid) return "its provider is " + setup.clsid;
    if (!setup.isRegistered) return "its provider " + setup.provider + " is not registered for instances";
    return {};
}

Verdict JudgeProviders(const Answers& answers) {
    const std::string point = "provider registrations";
    const bool isAnyCompiled = std::ranges::any_of(answers.setups, &ClassSetup::isCompiled);
    if (!isAnyCompiled) return NotApplicable(point, "no class is compiled");
    for (const ClassSetup& setup : answers.setups) {
        const std::string fault = setup.isCompiled ? ProviderFault(setup) : std::string();
        if (!fault.empty()) return Failed(point, setup.name + ": " + fault, kCompile);
    }
    return Passed(point, "each class has its provider");
}

Verdict JudgeAccount(const Answers& answers) {
    const std::string point = "hosting account";
    std::vector<std::string> others;
    bool isKnown = false;
    for (const ClassSetup& setup : answers.setups) {
        if (setup.clsid.empty()) continue;
        isKnown = true;
        const bool isAsShipped = (setup.hostingModel == "NetworkServiceHost" ||
                                  setup.hostingModel.starts_with("NetworkServiceHost:")) &&
                                 setup.impersonation == "0";
        if (!isAsShipped)
            others.push_back(setup.provider + " (" + setup.hostingModel + ", " + setup.impersonation + ")");
    }
    if (!isKnown) return NotApplicable(point, "no provider is there");
    if (!others.empty())
        return Failed(point, "another hosting model or impersonation level: " + Joined(others),
                      std::string("an older or changed MOF is compiled: ") + kCompile);
    return Passed(point, "NetworkServiceHost, impersonation level 0");
}

}  // namespace

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
    return text;
}

void JudgeInstallation(const Facts& facts, std::vector<Verdict>& verdicts) {
    if (facts.registration) {
        verdicts.push_back(JudgeRegistered(*facts.registration));
        verdicts.push_back(JudgeLoaded(*facts.registration));
        verdicts.push_back(JudgeVersions(facts));
    } else {
        for (const char* point : {"registration", "provider DLL", "versions"})
            verdicts.push_back(NotApplicable(point, kElsewhere));
    }
    if (!facts.wmi) {
        for (const char* point : {"namespace", "classes", "provider registrations", "hosting account"})
            verdicts.push_back(NotApplicable(point, "WMI is not asked with --provider"));
        return;
    }
    verdicts.push_back(JudgeConnected(*facts.wmi));
    if (FAILED(facts.wmi->connected)) return;
    verdicts.push_back(JudgeCompiled(*facts.wmi));
    verdicts.push_back(JudgeProviders(*facts.wmi));
    verdicts.push_back(JudgeAccount(*facts.wmi));
}

}  // namespace velkpci
