#include "host/model/system_classes.h"

namespace velkhost {

const std::string_view kSystemClassesMof = R"mof(
[Abstract] class __SystemClass {};
class __NAMESPACE : __SystemClass { [Key] string Name; };
[Abstract] class __Provider : __SystemClass { [Key] string Name; };
class __Win32Provider : __Provider
{
    string CLSID;
    string ClientLoadableCLSID;
    sint32 Concurrency;
    string DefaultMachineName;
    boolean Enabled;
    string HostingModel;
    sint32 ImpersonationLevel = 0;
    sint32 InitializationReentrancy = 0;
    datetime InitializationTimeoutInterval;
    boolean InitializeAsAdminFirst;
    datetime OperationTimeoutInterval;
    boolean PerLocaleInitialization = FALSE;
    boolean PerUserInitialization = FALSE;
    boolean Pure = TRUE;
    string SecurityDescriptor;
    boolean SupportsExplicitShutdown;
    boolean SupportsExtendedStatus;
    boolean SupportsQuotas;
    boolean SupportsSendStatus;
    boolean SupportsShutdown;
    boolean SupportsThrottling;
    datetime UnloadTimeout;
    uint32 Version;
};
[Abstract] class __ProviderRegistration : __SystemClass { [Key] __Provider ref provider; };
[Abstract] class __ObjectProviderRegistration : __ProviderRegistration
{
    sint32 InteractionType = 0;
    string QuerySupportLevels[];
    boolean SupportsBatching = FALSE;
    boolean SupportsDelete = FALSE;
    boolean SupportsEnumeration = TRUE;
    boolean SupportsGet = FALSE;
    boolean SupportsPut = FALSE;
    boolean SupportsTransactions = FALSE;
};
class __InstanceProviderRegistration : __ObjectProviderRegistration {};
[Abstract] class __NotifyStatus : __SystemClass { uint32 StatusCode; };
class __ExtendedStatus : __NotifyStatus
{
    string Description;
    string Operation;
    string ParameterInfo;
    string ProviderName;
};
)mof";

const std::string_view kRawSmbiosTablesMof = R"mof(
#pragma namespace("\\\\.\\root\\wmi")
class MSSmBios_RawSMBiosTables
{
    [Key] string InstanceName;
    boolean Active;
    boolean Used20CallingMethod;
    uint8 SmbiosMajorVersion;
    uint8 SmbiosMinorVersion;
    uint8 DmiRevision;
    uint32 Size;
    uint8 SMBiosData[];
};
)mof";

const std::string_view kDataStoreStatusMof = R"mof(
#pragma namespace("\\\\.\\root\\wmi")
class DataStoreStatus
{
    [Key] string InstanceName;
    boolean DataAvailable;
};
)mof";

}  // namespace velkhost
