// Lists separated by commas.
#pragma once

#include <stddef.h>

namespace atd {

// The most tokens of a list that anyone looks at.
inline constexpr int kTokensMax = 64;

struct Token {
  const char* text = "";  // in the list, not terminated
  size_t length = 0;

  bool operator==(const Token& other) const;
};

// A list's tokens, at most kTokensMax; those past the last one are empty. Commas in a row separate as one does.
struct Tokens {
  // The list stays the caller's and outlives the tokens.
  explicit Tokens(const char* list);

  // The position of a token with the same text, or -1.
  int find(const Token& token) const;

  Token at[kTokensMax];
  int count = 0;
};

// The decimal number that a token begins with, 0 where it begins with none.
int to_number(const Token& token);

}  // namespace atd
