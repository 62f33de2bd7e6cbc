#pragma once

#include "module/identifiers.h"

namespace velkpci {

/// A class that the provider serves and the COM class that serves it.
struct ProviderClass {
    const wchar_t* name;
    CLSID clsid;
};

inline constexpr ProviderClass kProviderClasses[] = {
    {L"Velk_PCIBridge", velk::kClsidVelkPCIBridgeProv},
    {L"Velk_PCIDevice", velk::kClsidVelkPCIDeviceProv},
    {L"Velk_PCISlot", velk::kClsidVelkPCISlotProv},
    {L"Velk_PCISlotLocation", velk::kClsidVelkPCISlotLocationProv},
    {L"Velk_PCICard", velk::kClsidVelkPCICardProv},
    {L"Velk_SystemPCIDevice", velk::kClsidVelkSystemPCIDeviceProv},
    {L"Velk_SystemPCISlot", velk::kClsidVelkSystemPCISlotProv},
    {L"Velk_PCISlotElementLocation", velk::kClsidVelkPCISlotElementLocationProv},
    {L"Velk_PCICardInSlot", velk::kClsidVelkPCICardInSlotProv},
    {L"Velk_RealizesPCIDevice", velk::kClsidVelkRealizesPCIDeviceProv},
};

}  // namespace velkpci
