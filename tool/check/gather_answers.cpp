#include <algorithm>

#include "host/services/registered_server.h"
#include "host/utf8.h"
#include "tool/basics/errors.h"
#include "tool/check/gather.h"
#include "tool/check/provider_classes.h"
#include "tool/inventory/names.h"
#include "tool/inventory/status_names.h"
#include "tool/inventory/wmi_reader.h"

namespace velkpci {
namespace {

using velkhost::Utf8FromWide;

std::string TextOf(const Instance& instance, const wchar_t* property) {
    const Value* value = instance.Find(property);
    return value == nullptr ? std::string() : Utf8FromWide(velkhost::ToText(*value));
}

class Gatherer {
  public:
    Gatherer(WmiReader& reader, Answers& answers) : reader_(reader), answers_(answers) {}

    void Gather() {
        answers_.inventory = ReadInventory(reader_);
        providers_ = reader_.Enumerate(L"__Win32Provider").instances;
        registrations_ = reader_.Enumerate(L"__InstanceProviderRegistration").instances;
        for (const ProviderClass& each : kProviderClasses) answers_.setups.push_back(SetupOf(each));
        for (const ProviderClass& each : kProviderClasses) Resolve(Utf8FromWide(each.name));
    }

  private:
    ClassSetup SetupOf(const ProviderClass& wanted) {
        ClassSetup setup;
        setup.name = Utf8FromWide(wanted.name);
        setup.expectedClsid = Utf8FromWide(velkhost::FormatClsid(wanted.clsid));
        const ClassData* data = answers_.inventory.Class(wanted.name);
        setup.isCompiled = data != nullptr && data->definition != nullptr;
        if (!setup.isCompiled) return setup;
        const std::wstring provider = data->definition->Provider();
        setup.provider = Utf8FromWide(provider);
        for (const InstancePtr& each : providers_) {
            if (!SameName(velkhost::WideFromUtf8(TextOf(*each, L"Name")), provider)) continue;
            setup.clsid = TextOf(*each, L"CLSID");
            setup.hostingModel = TextOf(*each, L"HostingModel");
            setup.impersonation = TextOf(*each, L"ImpersonationLevel");
        }
        const std::wstring path = PathIdentity(L"__Win32Provider.Name=\"" + provider + L"\"");
        setup.isRegistered = std::ranges::any_of(registrations_, [&](const InstancePtr& each) {
            return PathIdentity(velkhost::WideFromUtf8(TextOf(*each, L"provider"))) == path;
        });
        if (!data->instances.empty()) GetAgain(*data->instances.front(), setup);
        return setup;
    }

    /// Asks for an instance by the path under which it was listed.
    void GetAgain(const Instance& listed, ClassSetup& setup) {
        InstancePtr got;
        setup.got = reader_.Get(listed.path, got);
        if (got && PathIdentity(got->path) != PathIdentity(listed.path))
            setup.gotOther = Utf8FromWide(got->path);
    }

    void Resolve(const std::string& className) {
        const auto& links = answers_.inventory.links;
        const auto link = std::ranges::find_if(links, [&](const Link& each) {
            return Utf8FromWide(each.instance->definition->name) == className;
        });
        if (link == links.end()) return;
        InstancePtr end;
        Resolution resolution{className, Utf8FromWide(link->instance->path), S_OK, S_OK};
        resolution.from = reader_.Get(velkhost::WideFromUtf8(link->from), end);
        resolution.to = reader_.Get(velkhost::WideFromUtf8(link->to), end);
        answers_.resolutions.push_back(std::move(resolution));
    }

    WmiReader& reader_;
    Answers& answers_;
    Instances providers_, registrations_;
};

}  // namespace

Answers GatherAnswers(const SourceOptions& options, const Console& console) {
    Answers answers;
    try {
        const auto source = OpenSource(options, console);
        WmiReader reader(*source, console, options.verbose);
        Gatherer(reader, answers).Gather();
    } catch (const WmiError& error) {
        answers.connected = error.Status();
        answers.refusal = std::string(error.what()) + ": " + DescribeStatus(error.Status());
        answers.inventory.source.nameSpace = options.nameSpace;
    }
    return answers;
}

}  // namespace velkpci
