#pragma once

#include <array>

#include "assoc/association.h"
#include "framework/instance_provider.h"
#include "framework/own_list.h"

namespace velk {

/// The property table of an association class: its two references. A base class for the same reason as
/// OwnList.
struct AssociationProperties {
    std::array<PropertyRow<CVelkAssociation>, 2> properties;
};

/// The provider of an association class: an instance per pair of its list. The two references are the keys
/// and the only properties; the class's ProviderClass names them in the order in which they are written.
template <class List>
class CAssociationProv : private OwnList<List>,
                         private AssociationProperties,
                         public CInstanceProvider<List> {
  protected:
    explicit CAssociationProv(const ProviderClass& providerClass)
        : AssociationProperties{{{{providerClass.keys[0], &CVelkAssociation::first},
                                  {providerClass.keys[1], &CVelkAssociation::second}}}},
          CInstanceProvider<List>(providerClass, this->ownList_, properties) {}

  private:
    /// The paths are compared as texts, character by character, the server's name in them included.
    bool KeysMatch(const RequestedKeys& keys, const CVelkAssociation& record) const final {
        return keys.values[0] == record.first && keys.values[1] == record.second;
    }
};

}  // namespace velk
