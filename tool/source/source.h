#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/platform.h"
#include "tool/basics/console.h"

namespace velkpci {

/// Where instances come from, as the user says it; all texts are UTF-8.
struct SourceOptions {
    std::optional<std::string> machine;   ///< a machine file
    bool provider = false;                ///< the DLL in this process, on this computer
    std::optional<std::string> computer;  ///< WMI of another computer
    std::optional<std::string> user;      ///< of that computer: NAME or DOMAIN\NAME
    bool standalone = false;            ///< for a machine file or the DLL: with the classes of standalone.mof
    std::vector<std::string> mofFiles;  ///< the same: instead of those shipped beside the program
    std::string nameSpace = "root\\VKQ";
    bool verbose = false;
};

/// What a source is, for people and documents.
struct SourceInfo {
    enum class Kind { kWmi, kComputer, kMachine, kProvider };
    Kind kind = Kind::kWmi;
    std::string name;       ///< the computer or the machine file; empty for this computer
    std::string nameSpace;  ///< "root\VKQ"
};

/// "wmi", "computer", "machine", "provider".
const char* KindName(SourceInfo::Kind kind);

/// One namespace of WMI, or of what plays its part.
class Source {
  public:
    explicit Source(SourceInfo info) : info_(std::move(info)) {}
    virtual ~Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    const SourceInfo& Info() const { return info_; }
    virtual IWbemServices& Services() const = 0;
    /// To be called on each enumerator before it is asked: a proxy does not inherit the security that was set
    /// on the services.
    virtual HRESULT Protect(IUnknown&) const { return S_OK; }
    /// What the source has to say about the requests since the last call, in one line: the reason of a
    /// failure, where it knows more than a status. Empty mostly.
    virtual std::string TakeReport() const { return {}; }

  private:
    const SourceInfo info_;
};

/// Connects. Throws InputError for a file or namespace that cannot be used, WmiError when WMI refuses, and
/// what reading a machine or MOF file throws. At most one source exists at a time.
std::unique_ptr<Source> OpenSource(const SourceOptions& options, const Console& console);

}  // namespace velkpci
