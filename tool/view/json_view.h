#pragma once

#include <string>
#include <vector>

#include "tool/basics/json.h"
#include "tool/inventory/inventory.h"
#include "tool/view/findings.h"

namespace velkpci {

/// The version of all documents: raised when a member changes its meaning or goes away; new members alone do
/// not raise it. docs/json.md and docs/schema/ describe them.
inline constexpr int kJsonVersion = 1;

/// What every document begins with: "document" ("velkpci." and the kind), "version", "source".
Json BeginDocument(const std::string& kind, const SourceInfo& source);
/// As a document is printed.
std::string PrintJson(const Json& json);
/// A line of NDJSON: {"line": kind} and the members.
std::string PrintJsonLine(const char* kind, const Json& members);

/// {"code", "hex", "name"}.
Json StatusToJson(HRESULT status);
/// [{"request", "status", "reason"}].
Json FailuresToJson(const std::vector<Failure>& failures);
/// A class's "superclass", "association", "keys" and "types".
Json ClassToJson(const ClassDef& definition);
/// What the MOF says of it beyond that: all qualifiers, and those of its properties in the order of
/// declaration.
Json DeclarationToJson(const ClassDef& definition);
/// {"class", "path", "properties", "names"}: every property, NULL as null; `names` holds what value maps call
/// the numbers, of an array a list with null for an element without a name. With columns these alone.
Json InstanceToJson(const Instance& instance, const std::vector<std::wstring>& columns = {});
/// {"value", "name"}, or null for NULL.
Json MappedToJson(const MappedNumber& number);
/// Null for an empty text.
Json TextOrNull(const std::string& text);

std::string FormatAsJson(const Findings& findings, const std::vector<std::wstring>& columns);
std::string FormatAsNdjson(const Findings& findings, const std::vector<std::wstring>& columns);

}  // namespace velkpci
