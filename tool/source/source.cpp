#include "tool/source/source.h"

#include "tool/source/hosted_source.h"
#include "tool/source/wmi_source.h"

namespace velkpci {

const char* KindName(SourceInfo::Kind kind) {
    switch (kind) {
        case SourceInfo::Kind::kWmi:
            return "wmi";
        case SourceInfo::Kind::kComputer:
            return "computer";
        case SourceInfo::Kind::kMachine:
            return "machine";
        case SourceInfo::Kind::kProvider:
            return "provider";
    }
    return "";
}

std::unique_ptr<Source> OpenSource(const SourceOptions& options, const Console& console) {
    if (options.machine || options.provider) return OpenHostedSource(options, console);
    return OpenWmiSource(options, console);
}

}  // namespace velkpci
