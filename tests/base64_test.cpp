#include "transport/base64.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

namespace atd {
namespace {

std::string encode(const std::string& bytes) {
  std::string text(base64_text_size(bytes.size()) + 4, '#');
  int length = base64_encode(bytes.data(), static_cast<int>(bytes.size()), text.data());
  EXPECT_EQ('\0', text[static_cast<size_t>(length)]);
  EXPECT_EQ("####", text.substr(base64_text_size(bytes.size())));  // nothing after the terminator
  return text.substr(0, static_cast<size_t>(length));
}

std::string decode(const std::string& text, size_t capacity) {
  std::string bytes(capacity + 4, '#');
  int length = base64_decode(text.c_str(), bytes.data(), static_cast<int>(capacity));
  EXPECT_EQ("####", bytes.substr(capacity)) << text;
  return bytes.substr(0, static_cast<size_t>(length));
}

TEST(Base64, KnownTexts) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""}, {"A", "QQ=="}, {"AB", "QUI="}, {"ABC", "QUJD"}, {"\xff\xff\xfe", "///+"}, {"\xfb\xef\xbe", "++++"}};
  for (const auto& [bytes, text] : rows) {
    EXPECT_EQ(text, encode(bytes));
    EXPECT_EQ(bytes, decode(text, 16));
  }
  char text[8] = "keep";
  EXPECT_EQ(0, base64_encode("x", -1, text));
  EXPECT_STREQ("", text);
}

TEST(Base64, DecodingSkipsForeignCharacters) {
  const std::tuple<const char*, size_t, const char*> rows[] = {
      {"QU JD\n", 16, "ABC"}, {"Q", 16, ""},       {"QQ==QUI=", 16, "A\x04\x14"},  // padding ends no group
      {"=====", 16, ""},      {"QUJDREVG", 0, ""}, {"\x80\xff=*-_Q=U=J=D", 16, "ABC"}};
  for (const auto& [text, capacity, bytes] : rows) EXPECT_EQ(bytes, decode(text, capacity)) << text;
  EXPECT_EQ("ABC", decode(std::string("QUJD\0QUJD", 9), 16));
}

// One character at a time, as the format is defined.
std::string decode_plainly(const std::string& text, size_t capacity) {
  static const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  unsigned previous = 0, position = 0;
  for (char c : text) {
    if (c == '\0') break;
    size_t at = alphabet.find(c);
    if (at == std::string::npos) continue;
    unsigned value = static_cast<unsigned>(at);
    const unsigned byte[] = {0, previous << 2 | value >> 4, previous << 4 | value >> 2, previous << 6 | value};
    if (position != 0 && bytes.size() < capacity) bytes += static_cast<char>(byte[position]);
    previous = value;
    position = (position + 1) % 4;
  }
  return bytes;
}

TEST(Base64, RandomTextsAndCapacities) {
  std::mt19937 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::string bytes(random() % 70, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    std::string text = encode(bytes);
    EXPECT_EQ(bytes, decode(text, bytes.size()));
    // Then damage the text: foreign characters in, others out.
    for (unsigned n = random() % 6; n > 0 && !text.empty(); --n) {
      size_t at = random() % text.size();
      if (random() % 2) text.insert(at, 1, static_cast<char>(random()));
      else text.erase(at, 1);
    }
    size_t capacity = random() % 80;
    ASSERT_EQ(decode_plainly(text, capacity), decode(text, capacity)) << text;
  }
}

}  // namespace
}  // namespace atd
