#pragma once

#include <array>

#include "assoc/association.h"
#include "framework/instance_provider.h"

namespace velk {

/// What every association provider has of its own. A base class, and the first one, because the provider
/// template is constructed with references to both.
template <class List>
struct AssociationParts {
    List list;
    std::array<PropertyRow<CVelkAssociation>, 2> properties;
};

/// The provider of an association class: an instance per pair of its list. The two references are the keys
/// and the only properties; the class's ProviderClass names them in the order in which they are written.
template <class List>
class CAssociationProv : private AssociationParts<List>, public CInstanceProvider<List> {
  protected:
    explicit CAssociationProv(const ProviderClass& providerClass)
        : AssociationParts<List>{{},
                                 {{{providerClass.keys[0], &CVelkAssociation::first},
                                   {providerClass.keys[1], &CVelkAssociation::second}}}},
          CInstanceProvider<List>(providerClass, this->list, this->properties) {}

  private:
    /// The paths are compared as texts, character by character, the server's name in them included.
    bool KeysMatch(const RequestedKeys& keys, const CVelkAssociation& record) const final {
        return keys.values[0] == record.first && keys.values[1] == record.second;
    }
};

}  // namespace velk
