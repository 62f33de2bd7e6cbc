#pragma once

#include <map>
#include <string>
#include <vector>

#include "tool/inventory/inventory.h"

namespace velkpci {

/// The instances of an inventory as the page's script reads them, each known by a number.
class PageData {
  public:
    explicit PageData(const Inventory& inventory);

    /// The number of an instance of the inventory.
    std::size_t NumberOf(const Instance& instance) const { return numbers_.at(&instance); }

    /// {"classes": [{"name", "properties": [[name, type, 1 for a key]]}],
    ///  "instances": [[class, path, name, [values as people read them, null for NULL]]],
    ///  "links": [[name of the association, whole, part]]}, an end as its number, or as its path when no
    /// instance of the inventory has it. May stand in a script element: no "<" in it.
    std::string AsJson() const;

  private:
    const Inventory& inventory_;
    std::vector<ClassPtr> classes_;
    std::vector<InstancePtr> instances_;  ///< all but associations
    std::map<const Instance*, std::size_t> numbers_;
};

}  // namespace velkpci
