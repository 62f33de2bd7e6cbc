// What the providers of slots, cards and positions have in common.

#include <gtest/gtest.h>

#include "common/wbem_status.h"
#include "slots/slots_bench.h"
#include "slots/velk_pci_card_prov.h"
#include "slots/velk_pci_slot_location_prov.h"
#include "slots/velk_pci_slot_prov.h"

namespace velk {
namespace {

template <class Provider>
class SlotProvidersTest : public velktest::SlotsBench {};

using Providers = ::testing::Types<CVelkPCICardProv, CVelkPCISlotLocationProv, CVelkPCISlotProv>;
TYPED_TEST_SUITE(SlotProvidersTest, Providers);

TYPED_TEST(SlotProvidersTest, WriteARecordOnAComputerWhoseNameCannotBeHad) {
    const ComPtr<TypeParam> provider(new TypeParam);
    this->Machine().names = {};
    const auto instance = velktest::FakeClassObject::Make();
    EXPECT_EQ(provider->FillInstance(instance.Get(), {}), kWbemNoError);
    EXPECT_FALSE(instance->puts.empty());
}

}  // namespace
}  // namespace velk
