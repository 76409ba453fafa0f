// Words, numbers and bytes in the text files and command lines of the desk, and on a phone in "atd call". What a
// function takes is removed from the front of the text.
#pragma once

#include <stddef.h>

#include <string>
#include <string_view>

namespace atd {

// What separates words in a line.
inline constexpr std::string_view kSpaces = " \t\r";

// Whether a line is empty or begins with #, after spaces.
bool is_comment(std::string_view line);

// Takes the spaces before the next word.
void skip_spaces(std::string_view* text);

// Takes the first word; "" at the end of the text.
std::string_view take_word(std::string_view* text);

// Takes a pair of hex digits and appends their byte; takes nothing and returns false when there is none.
bool take_hex_pair(std::string_view* text, std::string* bytes);

// Takes a text in double quotes, with \" \\ \n \r \t and \x1f for a quote, a backslash, the control characters and a
// byte; false when there is none that ends. Appends to *bytes.
bool take_quoted(std::string_view* text, std::string* bytes);

// Reads a whole word as a decimal number within the bounds; false for anything else.
bool read_number(std::string_view word, long long lowest, long long highest, int* number);

// Two lower-case hex digits a byte.
std::string to_hex(std::string_view bytes);

// Reads hex digits into *bytes; false for anything but pairs of them.
bool from_hex(std::string_view digits, std::string* bytes);

// The words of a text in lines of at most `width` columns, where the words are short enough, each with its line end.
// The caller has written `indent` columns before the first line; the others begin with so many spaces.
std::string wrapped(std::string_view text, size_t indent, size_t width);

// The columns of a help, and the one that its sentences begin at.
inline constexpr size_t kColumns = 80, kHelpColumn = 30;

// A row of a help: what is to the left, and what is said about it from a column on, or below where it is too long.
std::string in_columns(std::string left, size_t column, std::string_view text);

// Bytes of the UTF-8 character at `at`; 0 when there is none.
size_t utf8_size(std::string_view text, size_t at);

// Whether the bytes are UTF-8.
bool is_utf8(std::string_view bytes);

// Bytes for somebody's eyes: the text, or "hex:00ff" for what is not UTF-8.
std::string shown(const std::string& bytes);

}  // namespace atd
