#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "host/cli/reader.h"

namespace velkhost::cli {

/// A line of the machine's tree with what hangs below it.
struct TreeNode {
    std::string text;
    std::string path;  ///< of the instance shown; empty for a heading
    std::vector<TreeNode> children;
};

/// Reads the whole machine: computer system; chassis, its slots, their cards, the cards' functions; then the
/// functions and bridges that no card carries, by bus. `fail` is told of each class that could not be read; a
/// class that the namespace does not have counts as empty.
TreeNode ReadTree(const Reader& reader, const std::function<void(const std::wstring&, HRESULT)>& fail);

/// The tree drawn with lines.
std::string FormatTree(const TreeNode& root);

/// {"text", "path", "children"}.
nlohmann::ordered_json ToJson(const TreeNode& node);

}  // namespace velkhost::cli
