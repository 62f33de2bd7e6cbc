#include "tool/inventory/names.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

#include "host/path/object_path.h"

namespace velkpci {
namespace {

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }

/// How many letters to insert, delete, replace or swap with their neighbour make one word of the other.
std::size_t Distance(const std::string& left, const std::string& right) {
    std::vector<std::size_t> before, last(right.size() + 1), row(right.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= left.size(); ++i) {
        row[0] = i;
        for (std::size_t j = 1; j <= right.size(); ++j) {
            const bool isSame = Lower(left[i - 1]) == Lower(right[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (isSame ? 0 : 1)});
            const bool isSwapped = i > 1 && j > 1 && Lower(left[i - 1]) == Lower(right[j - 2]) &&
                                   Lower(left[i - 2]) == Lower(right[j - 1]);
            if (isSwapped) row[j] = std::min(row[j], before[j - 2] + 1);
        }
        before = std::exchange(last, row);
    }
    return last.back();
}

}  // namespace

std::wstring LowerName(std::wstring name) {
    for (wchar_t& c : name) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return name;
}

std::wstring PathIdentity(const std::wstring& path) {
    auto parsed = velkhost::ParseObjectPath(path);
    if (!parsed) return path;
    parsed->className = LowerName(parsed->className);
    for (velkhost::PathKey& key : parsed->keys) key.name = LowerName(key.name);
    std::sort(parsed->keys.begin(), parsed->keys.end(),
              [](const auto& left, const auto& right) { return left.name < right.name; });
    return velkhost::FormatRelativePath(*parsed);
}

std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates) {
    // A third of the letters may be wrong, and always one.
    std::size_t best = std::max<std::size_t>(word.size() / 3, 1) + 1;
    std::string nearest;
    for (const std::string& candidate : candidates) {
        const std::size_t distance = Distance(word, candidate);
        if (distance >= best) continue;
        best = distance;
        nearest = candidate;
    }
    return nearest;
}

std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates) {
    const std::string nearest = NearestWord(word, candidates);
    return nearest.empty() ? std::string() : " (did you mean " + nearest + "?)";
}

}  // namespace velkpci
