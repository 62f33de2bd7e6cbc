#pragma once

#include <set>
#include <string>
#include <vector>

#include "common/text.h"
#include "support/fake_wbem.h"
#include "support/recording_sink.h"

namespace velktest {

/// One property of an instance, its value as text.
struct PropertyText {
    velk::CString name;
    velk::CString value;

    bool operator==(const PropertyText&) const = default;
};

/// The properties of one instance, in the order in which they were put.
using RecordText = std::vector<PropertyText>;
/// The instances of a request, in the order of delivery.
using Inventory = std::vector<RecordText>;

/// What a sink was given, as the fakes that they are.
FakeObjects DeliveredTo(const RecordingSink& sink);
Inventory InventoryOf(const FakeObjects& instances);

/// The relative path of an instance: its class and the keys named, with `suffix` behind each key value.
velk::CString PathOf(const velk::CString& wmiClass, const FakeClassObject& instance,
                     const std::vector<velk::CString>& keys, const velk::CString& suffix);

/// How an inventory may differ from the reference although the request succeeded.
enum class Difference {
    kOneDevice,     ///< one device is left out, or shows without one of its properties
    kFewerDevices,  ///< devices are left out
    kNextName,      ///< the computer goes by its host name instead of its full name
    kNoServer,      ///< object paths name no server
    kNoGroup,       ///< the containing object of an association is not known
    kNoText,        ///< texts of the string table are "<String could not be found!>"
    kNoElement,     ///< an array of texts lacks an element
    kNoSlots,       ///< there is not a single slot
    kNoLayout,      ///< a card's bus layout is 0
    kNotDelivered,  ///< the sink refused the instance
};
using Differences = std::set<Difference>;

/// What differs between the inventory of a request that succeeded and the reference beyond what is allowed,
/// for people; empty when nothing does.
std::string Compare(const Inventory& reference, const Inventory& delivered, const Differences& allowed);

}  // namespace velktest
