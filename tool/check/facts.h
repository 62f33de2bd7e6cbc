#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/inventory/inventory.h"

namespace velkpci {

// What is known of a server, as plain data that was gathered once: the verdicts are told from it alone. What
// could not be asked (the registry of another computer, WMI of a replayed machine) is left out.

/// A DLL that COM loads for a class of the provider.
struct ServerFile {
    std::string path;
    std::uint32_t loadError = 0;  ///< Win32 error of loading it and finding its entry point; 0: it loads
    std::string version;          ///< "1.0.0"; empty when it has none
};

/// How COM finds the provider on this computer.
struct Registration {
    std::vector<std::string> missing;  ///< classes whose CLSID has no server
    std::vector<ServerFile> files;     ///< one, unless somebody registered another copy
};

/// What a namespace says of one class of the provider.
struct ClassSetup {
    std::string name;
    bool isCompiled = false;
    std::string provider;        ///< that its qualifier names; empty: none
    bool isRegistered = false;   ///< an __InstanceProviderRegistration refers to that provider
    std::string clsid;           ///< of the provider's __Win32Provider; empty when that is not there
    std::string expectedClsid;   ///< that the DLL serves the class under
    std::string hostingModel;    ///< "NetworkServiceHost"
    std::string impersonation;   ///< "0"
    std::optional<HRESULT> got;  ///< status of a get of the first instance; none without instances
    std::string gotOther;        ///< the path that came back, where it is not that of the instance
};

/// The first instance of an association class, its ends asked for.
struct Resolution {
    std::string className;
    std::string path;
    HRESULT from = S_OK;
    HRESULT to = S_OK;
};

/// The answers of one source.
struct Answers {
    HRESULT connected = S_OK;
    std::string refusal;  ///< why there is no connection, as a sentence
    std::vector<ClassSetup> setups;
    std::vector<Resolution> resolutions;
    Inventory inventory;
};

/// A System Slots structure of the firmware.
struct DescribedSlot {
    std::uint8_t type = 0;  ///< the firmware's code
    std::uint16_t id = 0;
    std::string designation;
};

struct Firmware {
    bool isReadable = false;
    std::string way;  ///< "the health driver", "WMI", "the machine file"
    bool hasModernTypes = false;
    std::vector<DescribedSlot> slots;
};

/// The logs as the host's account finds them.
struct Logs {
    std::string folder;
    bool isThere = false;
    bool hostMayWrite = false;  ///< by the folder's and the log's permissions for NETWORK SERVICE
    long level = 3;
    bool hasGrown = false;         ///< the common log, by the requests of this check
    bool hasMutexError = false;    ///< there is a VelkCommonLog_MutexError.log in the hosts' folder
    bool hasLockFailures = false;  ///< the legacy log has grown
};

struct Facts {
    SourceInfo source;
    std::string programVersion;
    std::string windows;  ///< "Windows Server 2022 Standard, build 20348.2762"
    std::optional<Registration> registration;
    std::optional<Answers> wmi;        ///< of the source itself; none for --provider
    std::optional<Answers> inProcess;  ///< of the DLL without WMI
    std::optional<Firmware> firmware;
    std::optional<Logs> logs;

    /// The answers that tell of the machine: WMI's, else those of the DLL without WMI; null when nobody
    /// answered.
    const Answers* Told() const {
        if (wmi && SUCCEEDED(wmi->connected)) return &*wmi;
        return inProcess && SUCCEEDED(inProcess->connected) ? &*inProcess : nullptr;
    }
};

}  // namespace velkpci
