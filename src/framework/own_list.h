#pragma once

namespace velk {

/// The list of a provider class whose list is not the module's. As the provider's first base it exists before
/// the provider template is given a reference to it, and outlives it.
template <class List>
class OwnList {
  protected:
    OwnList() = default;

    List ownList_;
};

}  // namespace velk
