#pragma once

#include <vector>

#include "host/model/class_object.h"
#include "host/services/wql.h"

namespace velkhost {

/// Whether the query's terms can be asked of the class and its selected properties exist in it: WMI refuses a
/// query that names unknown properties. System properties ("__PATH") always exist.
bool FitsClass(const WqlQuery& query, const ClassDef& definition);

/// Whether all terms hold for the object. Texts are compared without regard to case, as WQL does; a number or
/// a boolean may be written as text; NULL and arrays equal nothing.
bool Matches(const ClassObject& object, const std::vector<WqlTerm>& terms);

/// Hands the instances of a query's answer out with the selected properties only.
class Projector {
  public:
    explicit Projector(std::vector<std::wstring> properties) : properties_(std::move(properties)) {}

    /// The instance itself when everything is selected.
    velk::ComPtr<ClassObject> Project(const velk::ComPtr<ClassObject>& whole);

  private:
    const std::vector<std::wstring> properties_;
    ClassPtr lastClass_;  ///< instances of one class follow each other: its projection is made once
    ClassPtr lastProjection_;
};

}  // namespace velkhost
