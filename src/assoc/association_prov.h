#pragma once

#include "assoc/association.h"
#include "framework/instance_provider.h"
#include "framework/own_list.h"

namespace velk {

/// The provider of an association class: an instance per pair of its list. The two references are the keys
/// and the only properties; `kClass` names them in the order in which they are written.
template <class List, const ProviderClass& kClass>
class CAssociationProv : private OwnList<List>, public CInstanceProvider<List> {
  protected:
    CAssociationProv() : CInstanceProvider<List>(kClass, this->ownList_, kProperties) {}

  private:
    static constexpr PropertyRow<CVelkAssociation> kProperties[] = {
        {kClass.keys[0], &CVelkAssociation::first},
        {kClass.keys[1], &CVelkAssociation::second},
    };

    /// The paths are compared as texts, character by character, the server's name in them included.
    bool KeysMatch(const RequestedKeys& keys, const CVelkAssociation& record) const final {
        return keys.values[0] == record.first && keys.values[1] == record.second;
    }
};

}  // namespace velk
