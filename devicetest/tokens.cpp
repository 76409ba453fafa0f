#include "devicetest/tokens.h"

#include <stdlib.h>
#include <string.h>

#include "text/text_writer.h"

namespace atd {

bool Token::operator==(const Token& other) const {
  return length == other.length && memcmp(text, other.text, length) == 0;
}

Tokens::Tokens(const char* list) {
  while (count < kTokensMax) {
    list += strspn(list, ",");
    const size_t length = strcspn(list, ",");
    if (length == 0) return;
    at[count].text = list;
    at[count].length = length;
    ++count;
    list += length;
  }
}

int Tokens::find(const Token& token) const {
  for (int i = 0; i < count; ++i) {
    if (at[i] == token) return i;
  }
  return -1;
}

int to_number(const Token& token) {
  char text[8];
  TextWriter(text).bytes(token.text, token.length);
  return atoi(text);
}

}  // namespace atd
