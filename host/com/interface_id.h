#pragma once

#include "common/platform.h"

namespace velkhost {

/// The identifier of a COM interface by its C++ type; one specialisation per interface that the host
/// implements.
template <class Interface>
struct InterfaceId;

template <>
struct InterfaceId<IClassFactory> {
    static const IID& Get() noexcept { return IID_IClassFactory; }
};
template <>
struct InterfaceId<IClientSecurity> {
    static const IID& Get() noexcept { return IID_IClientSecurity; }
};
template <>
struct InterfaceId<IWbemPath> {
    static const IID& Get() noexcept { return kIidIWbemPath; }
};
template <>
struct InterfaceId<IWbemPathKeyList> {
    static const IID& Get() noexcept { return kIidIWbemPathKeyList; }
};
template <>
struct InterfaceId<IWbemLocator> {
    static const IID& Get() noexcept { return IID_IWbemLocator; }
};
template <>
struct InterfaceId<IWbemServices> {
    static const IID& Get() noexcept { return IID_IWbemServices; }
};
template <>
struct InterfaceId<IWbemClassObject> {
    static const IID& Get() noexcept { return IID_IWbemClassObject; }
};
template <>
struct InterfaceId<IEnumWbemClassObject> {
    static const IID& Get() noexcept { return IID_IEnumWbemClassObject; }
};
template <>
struct InterfaceId<IWbemObjectSink> {
    static const IID& Get() noexcept { return IID_IWbemObjectSink; }
};
template <>
struct InterfaceId<IWbemProviderInitSink> {
    static const IID& Get() noexcept { return IID_IWbemProviderInitSink; }
};
template <>
struct InterfaceId<IWbemQualifierSet> {
    static const IID& Get() noexcept { return IID_IWbemQualifierSet; }
};

}  // namespace velkhost
