#include "desk/nearest.h"

#include <ctype.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace atd {

namespace {

constexpr size_t kCompared = 64;  // characters of a name; one that goes on after them is not near to anything

// Letters to insert, take out or change to get from one to the other. Upper and lower case are the same.
size_t distance(const std::string& a, const std::string& b) {
  auto lower = [](char c) { return tolower(static_cast<unsigned char>(c)); };
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (lower(a[i]) != lower(b[j]));
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> nearest(const std::string& whole_name, const std::vector<std::string>& names, size_t count) {
  const std::string name = whole_name.substr(0, kCompared);
  std::vector<std::pair<size_t, std::string>> found;
  for (const std::string& candidate : names) {
    size_t away = distance(name, candidate);
    // A part of a name ("imei") counts as near to it.
    if (name.size() > 2 && candidate.find(name) != std::string::npos) away /= 4;
    found.emplace_back(away, candidate);
  }
  std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  std::vector<std::string> result;
  for (size_t i = 0; i < found.size() && i < count; ++i) result.push_back(found[i].second);
  return result;
}

std::string listed(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

}  // namespace atd
