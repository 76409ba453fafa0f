#include "desk/nearest.h"

#include <ctype.h>

#include <algorithm>
#include <numeric>
#include <utility>

namespace atd {

namespace {

constexpr size_t kCompared = 64;  // bytes of a mistyped name; the rest is not looked at: a huge one costs no time

std::string lower(std::string text) {
  for (char& c : text) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return text;
}

// Letters to insert, take out or change to get from one to the other.
size_t distance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (size_t i = 0; i < a.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t j = 0; j < b.size(); ++j) {
      const size_t changed = diagonal + (a[i] != b[j]);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::vector<std::string> nearest(const std::string& whole_name, const std::vector<std::string>& names, size_t count) {
  const std::string name = lower(whole_name.substr(0, kCompared));
  std::vector<std::pair<size_t, std::string>> found;
  for (const std::string& candidate : names) {
    const std::string other = lower(candidate);
    size_t away = distance(name, other);
    // A part of a name ("imei") counts as near to it.
    if (name.size() > 2 && other.find(name) != std::string::npos) away /= 4;
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
