// What a person may have meant by a name that does not exist.
#pragma once

#include <string>
#include <vector>

namespace atd {

// The names that look most like `name`, the nearest first, at most `count`.
std::vector<std::string> nearest(const std::string& name, const std::vector<std::string>& names, size_t count);

// Words as a list for a sentence: "a, b, c".
std::string listed(const std::vector<std::string>& words);

}  // namespace atd
