#include "pci/pci_scan.h"

#include <array>
#include <optional>

#include "common/computer_system.h"
#include "common/function_log.h"
#include "common/handle.h"
#include "common/platform.h"
#include "common/suite_names.h"
#include "pci/device_text.h"

namespace velk {

namespace {

/// One text property of a device. Its size is never asked for: what does not fit is not wanted. Behind the
/// bytes that SetupAPI may fill stands a NUL of ours, whatever the database holds.
class TextProperty {
  public:
    /// Returns whether the property was read and fits. A read that fails leaves the buffer as it was.
    bool Read(HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property) noexcept {
        DWORD required = 0;
        return ::SetupDiGetDeviceRegistryPropertyW(devices, &device, property, nullptr,
                                                   reinterpret_cast<PBYTE>(buffer_.data()), kBytes,
                                                   &required) &&
               required <= kBytes;
    }

    std::span<wchar_t> Buffer() noexcept { return buffer_; }
    /// The text up to its first NUL.
    std::wstring_view Text() const noexcept { return FirstString({buffer_.data(), buffer_.size()}); }

  private:
    static constexpr DWORD kBytes = 2048;
    std::array<wchar_t, kBytes / sizeof(wchar_t) + 1> buffer_{};
};

/// A four-byte property; nothing when it cannot be read.
std::optional<DWORD> ReadNumber(HDEVINFO devices, SP_DEVINFO_DATA& device, DWORD property) noexcept {
    DWORD value = 0;
    if (!::SetupDiGetDeviceRegistryPropertyW(devices, &device, property, nullptr,
                                             reinterpret_cast<PBYTE>(&value), sizeof value, nullptr)) {
        return std::nullopt;
    }
    return value;
}

/// What the database says of one function.
struct FunctionProperties {
    ClassReading classReading;  ///< of the compatible IDs
    TextProperty location;
    TextProperty description;
    TextProperty hardwareIds;
    TextProperty locationPaths;
    std::optional<DWORD> busNumber;
    HardwareIdNumbers numbers;  ///< of the first hardware ID
    DWORD uiNumber = 0;
};

/// Reads all properties, each once and before anything is made of them, save that a function which is left
/// out is asked for no more. The order is fixed: whoever watches the database sees the same reads for every
/// function. False for a function that is left out.
bool ReadProperties(HDEVINFO devices, SP_DEVINFO_DATA& device, const PciScanKind& kind,
                    FunctionProperties& read) noexcept {
    TextProperty compatibleIds;
    if (!compatibleIds.Read(devices, device, SPDRP_COMPATIBLEIDS)) return false;
    read.classReading = kind.classify(JoinMultiString(compatibleIds.Buffer()));
    if (!read.classReading.keep) return false;

    if (!read.location.Read(devices, device, SPDRP_LOCATION_INFORMATION)) return false;
    if (!read.description.Read(devices, device, SPDRP_DEVICEDESC)) return false;
    if (!read.hardwareIds.Read(devices, device, SPDRP_HARDWAREID)) return false;
    // These two may be missing.
    read.locationPaths.Read(devices, device, SPDRP_LOCATION_PATHS);
    read.busNumber = ReadNumber(devices, device, SPDRP_BUSNUMBER);

    if (ParseHardwareId(read.hardwareIds.Text(), read.numbers) == ScanResult::kEndOfInput) return false;
    read.uiNumber = ReadNumber(devices, device, SPDRP_UI_NUMBER).value_or(0);
    return true;
}

/// One run over the database. The bus, device and function numbers start at 0 and are carried from each
/// device to the next: a device that does not tell one of them takes its predecessor's.
class PciScan {
  public:
    PciScan(const PciScanKind& kind, const AddPciFunction& add) noexcept : kind_(kind), add_(add) {}

    bool Run() {
        // Every setup class: a function without a driver belongs to none. A set that could not be made is
        // destroyed as it stands; SetupAPI refuses the invalid handle without harm.
        const UniqueDeviceInfoSet devices(
            ::SetupDiGetClassDevsW(nullptr, L"PCI", nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES));
        if (devices.Get() == INVALID_HANDLE_VALUE) return false;

        SP_DEVINFO_DATA device{};
        device.cbSize = sizeof device;
        for (DWORD index = 0; ::SetupDiEnumDeviceInfo(devices.Get(), index, &device); ++index) {
            if (!ReadFunction(devices.Get(), device)) return false;
        }
        return true;
    }

  private:
    /// False ends the scan as failed; a function that is left out is no failure.
    bool ReadFunction(HDEVINFO devices, SP_DEVINFO_DATA& device) {
        FunctionProperties read;
        if (!ReadProperties(devices, device, kind_, read)) return true;

        const LocationProperties location = {read.location.Text(), read.locationPaths.Text(), read.busNumber};
        if (!ParseLocation(location, position_)) {
            FunctionLog(kind_.listName, L"RebuildList").Information(L"Could not parse Device Paths");
        }

        CVelkPCIDevice function;
        function.description = read.description.Text();
        function.elementName = read.hardwareIds.Text();
        function.name = read.hardwareIds.Text();
        function.vendorId = read.numbers.vendorId;
        function.pciDeviceId = read.numbers.deviceId;
        function.subsystemId = read.numbers.subsystemId;
        function.subsystemVendorId = read.numbers.subsystemVendorId;
        function.revisionId = read.numbers.revisionId;
        function.uiNumber = read.uiNumber;
        function.classCode = read.classReading.classCode;
        if (!Identify(function)) return false;
        add_(std::move(function), read.classReading);
        return true;
    }

    /// Sets what makes the function one of its kind on this computer. False without a computer name or an
    /// object path.
    bool Identify(CVelkPCIDevice& function) const {
        function.busNumber = position_.bus;
        function.deviceNumber = position_.device;
        function.functionNumber = position_.function;
        function.deviceId =
            FormatText(L"BUS(%d)DEV(%d)FN(%d)", position_.bus, position_.device, position_.function);

        CString computerName;
        if (GetLocalComputerName(computerName) != ERROR_SUCCESS) return false;
        const wchar_t* wmiClass = kind_.wmiClass;
        const CString relativePath = FormatText(
            L"%s.CreationClassName=\"%s\",DeviceID=\"%s\",SystemCreationClassName=\"%s\",SystemName=\"%s\"",
            wmiClass, wmiClass, function.deviceId, GetComputerSystemClassName(), computerName);
        return !MakeFullObjectPath(function.objectPath, kSuiteNamespace, relativePath).empty();
    }

    const PciScanKind& kind_;
    const AddPciFunction& add_;
    BusPosition position_;
};

}  // namespace

bool ScanPciFunctions(const PciScanKind& kind, const AddPciFunction& add) { return PciScan(kind, add).Run(); }

}  // namespace velk
