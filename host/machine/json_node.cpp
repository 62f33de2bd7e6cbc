#include "host/machine/json_node.h"

#include <algorithm>
#include <limits>

#include "host/machine/machine.h"
#include "host/utf8.h"

namespace velkhost {

namespace {

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

int Base64Digit(char c) {
    constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t digit = kAlphabet.find(c);
    return digit == std::string_view::npos ? -1 : static_cast<int>(digit);
}

std::string WithoutBlanks(std::string text) {
    std::erase_if(text, [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; });
    return text;
}

}  // namespace

void JsonNode::Fail(const std::string& complaint) const {
    throw MachineError(origin_ + ": " + path_ + ": " + complaint);
}

std::optional<JsonNode> JsonNode::Find(const char* name) const {
    if (!value_->is_object()) Fail("an object is expected");
    const auto member = value_->find(name);
    if (member == value_->end()) return std::nullopt;
    return JsonNode(*member, origin_, path_ + "." + name);
}

void JsonNode::AllowOnly(std::initializer_list<std::string_view> names) const {
    for (const auto& [name, member] : Members()) {
        if (std::find(names.begin(), names.end(), name) == names.end()) member.Fail("unknown member");
    }
}

std::vector<std::pair<std::string, JsonNode>> JsonNode::Members() const {
    if (!value_->is_object()) Fail("an object is expected");
    std::vector<std::pair<std::string, JsonNode>> members;
    for (const auto& [name, value] : value_->items()) {
        members.emplace_back(name, JsonNode(value, origin_, path_ + "." + name));
    }
    return members;
}

std::vector<JsonNode> JsonNode::Elements() const {
    if (!value_->is_array()) Fail("an array is expected");
    std::vector<JsonNode> elements;
    for (std::size_t i = 0; i < value_->size(); ++i) {
        elements.emplace_back((*value_)[i], origin_, path_ + "[" + std::to_string(i) + "]");
    }
    return elements;
}

std::wstring JsonNode::Text() const {
    if (!value_->is_string()) Fail("a text is expected");
    return WideFromUtf8(value_->get_ref<const std::string&>());
}

std::vector<std::wstring> JsonNode::Texts() const {
    std::vector<std::wstring> texts;
    for (const JsonNode& element : Elements()) texts.push_back(element.Text());
    return texts;
}

std::uint32_t JsonNode::Number() const {
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint32_t>::max();
    if (!value_->is_number_unsigned() || value_->get<std::uint64_t>() > kMax) {
        Fail("a whole number of 0 to 4294967295 is expected");
    }
    return value_->get<std::uint32_t>();
}

bool JsonNode::Truth() const {
    if (!value_->is_boolean()) Fail("true or false is expected");
    return value_->get<bool>();
}

std::string JsonNode::JoinedText() const {
    std::string joined;
    if (value_->is_array()) {
        for (const JsonNode& element : Elements()) joined += element.JoinedText();
    } else if (value_->is_string()) {
        joined = WithoutBlanks(value_->get<std::string>());
    } else {
        Fail("a text or an array of texts is expected");
    }
    return joined;
}

std::vector<std::uint8_t> JsonNode::HexBytes() const {
    const std::string text = JoinedText();
    if (text.size() % 2 != 0) Fail("an odd number of hexadecimal digits");
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = HexDigit(text[i]);
        const int low = HexDigit(text[i + 1]);
        if (high < 0 || low < 0) Fail("not hexadecimal at digit " + std::to_string(i + 1));
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    return bytes;
}

std::vector<std::uint8_t> JsonNode::Base64Bytes() const {
    std::string text = JoinedText();
    if (text.size() % 4 != 0) Fail("base64 text comes in groups of four characters");
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    text.resize(text.size() - padding);
    std::vector<std::uint8_t> bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int digit = Base64Digit(text[i]);
        if (digit < 0) Fail("not base64 at character " + std::to_string(i + 1));
        bits = (bits << 6 | static_cast<std::uint32_t>(digit)) & 0xFFFFFF;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<std::uint8_t>(bits >> count & 0xFF));
    }
    return bytes;
}

}  // namespace velkhost
