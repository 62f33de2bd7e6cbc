#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/json.h"

namespace velkhost {

/// A value of a machine file that knows where it stands, so that every complaint (MachineError) names the
/// file and the JSON path. Refers to the document, which must outlive it.
class JsonNode {
  public:
    JsonNode(const Json& value, std::string origin, std::string path = "$")
        : value_(&value), origin_(std::move(origin)), path_(std::move(path)) {}

    const Json& Value() const noexcept { return *value_; }

    /// The member of this object, if there is one.
    std::optional<JsonNode> Find(const char* name) const;
    /// The members of this object, of which none may have a name outside the list.
    void AllowOnly(std::initializer_list<std::string_view> names) const;
    /// The elements of this array.
    std::vector<JsonNode> Elements() const;
    std::vector<std::pair<std::string, JsonNode>> Members() const;

    std::wstring Text() const;
    std::vector<std::wstring> Texts() const;
    std::uint32_t Number() const;
    bool Truth() const;
    /// Bytes as hexadecimal digits: one text or an array of texts; blanks between the digits are for the
    /// reader.
    std::vector<std::uint8_t> HexBytes() const;
    /// Bytes as base64, in the same shapes.
    std::vector<std::uint8_t> Base64Bytes() const;

    [[noreturn]] void Fail(const std::string& complaint) const;

  private:
    /// One text, or all texts of an array one after the other.
    std::string JoinedText() const;

    const Json* value_;
    std::string origin_;
    std::string path_;
};

}  // namespace velkhost
