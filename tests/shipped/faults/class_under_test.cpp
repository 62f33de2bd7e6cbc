#include "class_under_test.h"

#include <algorithm>
#include <iterator>

#include "module/identifiers.h"

namespace velktest {

namespace {

using Keys = std::vector<velk::CString>;
using enum Difference;

/// Every so many calls fail in the short run: closer in a class of each kind (a list of the module's, a
/// thread of its own, an association that reads everything) than in the others, which share their code.
constexpr std::size_t kManyCalls = 4;
constexpr std::size_t kFewCalls = 13;

const Keys kFunctionKeys = {L"CreationClassName", L"DeviceID", L"SystemCreationClassName", L"SystemName"};
const Keys kTagKeys = {L"CreationClassName", L"Tag"};
const Keys kDependencyKeys = {L"Antecedent", L"Dependent"};
const Keys kComponentKeys = {L"GroupComponent", L"PartComponent"};

const std::vector<ClassUnderTest> kClasses = {
    {"Velk_PCIDevice",
     L"Velk_PCIDevice",
     velk::kClsidVelkPCIDeviceProv,
     kFunctionKeys,
     3,
     kManyCalls,
     {kOneDevice, kFewerDevices, kNextName, kNoElement}},
    {"Velk_PCIBridge",
     L"Velk_PCIBridge",
     velk::kClsidVelkPCIBridgeProv,
     kFunctionKeys,
     2,
     kFewCalls,
     {kOneDevice, kFewerDevices, kNextName, kNoElement}},
    {"Velk_PCISlot",
     L"Velk_PCISlot",
     velk::kClsidVelkPCISlotProv,
     kTagKeys,
     3,
     kFewCalls,
     {kNoSlots, kNoText, kNoElement}},
    {"Velk_PCISlotLocation",
     L"Velk_PCISlotLocation",
     velk::kClsidVelkPCISlotLocationProv,
     {L"Name", L"PhysicalPosition"},
     3,
     kManyCalls,
     {kNoSlots, kNoText},
     true},
    {"Velk_PCICard",
     L"Velk_PCICard",
     velk::kClsidVelkPCICardProv,
     kTagKeys,
     2,
     kFewCalls,
     {kOneDevice, kFewerDevices, kNoText, kNoElement, kNoLayout}},
    {"Velk_PCICardInSlot",
     L"Velk_PCICardInSlot",
     velk::kClsidVelkPCICardInSlotProv,
     kDependencyKeys,
     2,
     kFewCalls,
     {kOneDevice, kFewerDevices, kNoText, kNoServer}},
    {"Velk_PCISlotElementLocation",
     L"Velk_PCISlotElementLocation",
     velk::kClsidVelkPCISlotElementLocationProv,
     {L"Element", L"PhysicalLocation"},
     3,
     kFewCalls,
     {kNoSlots, kNoText, kNoServer}},
    {"Velk_RealizesPCIDevice",
     L"Velk_RealizesPCIDevice",
     velk::kClsidVelkRealizesPCIDeviceProv,
     kDependencyKeys,
     3,
     kFewCalls,
     {kOneDevice, kFewerDevices, kNoText, kNoServer, kNextName}},
    {"Velk_SystemPCIDevice",
     L"Velk_SystemPCIDevice",
     velk::kClsidVelkSystemPCIDeviceProv,
     kComponentKeys,
     5,
     kFewCalls,
     {kOneDevice, kFewerDevices, kNoServer, kNextName, kNoGroup}},
    // Without a table it answers no success.
    {"Velk_SystemPCISlot",
     L"Velk_SystemPCISlot",
     velk::kClsidVelkSystemPCISlotProv,
     kComponentKeys,
     2,
     kManyCalls,
     {kNoText, kNoServer, kNoGroup},
     false,
     true},
};

}  // namespace

std::ostream& operator<<(std::ostream& out, const ClassUnderTest& tested) { return out << tested.name; }

const std::vector<ClassUnderTest>& ClassesUnderTest() { return kClasses; }

std::vector<ClassUnderTest> ClassesUnderTest(std::initializer_list<std::string_view> names) {
    std::vector<ClassUnderTest> selected;
    std::ranges::copy_if(kClasses, std::back_inserter(selected), [&](const ClassUnderTest& tested) {
        return std::ranges::find(names, tested.name) != names.end();
    });
    return selected;
}

}  // namespace velktest
