#include "storage/default_contents.h"

#include <ctype.h>
#include <errno.h>
#include <limits.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "platform/log.h"

using namespace atd;

namespace {

constexpr int kLineSize = 1024;

// Stands in the place of an entry that has been taken, so that those behind it are still found.
default_content g_taken;

size_t hash_of(const char* text) {
  uint32_t hash = 2166136261u;
  for (; *text; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * 16777619u;
  return hash;
}

// Reads a decimal number with or without a sign; false when it is invalid or too large, which is reported in the name
// of the function `who`.
bool read_size(const char* who, const char* token, int* size) {
  const char* digits = token + (*token == '+' || *token == '-');
  if (*digits == '\0' || digits[strspn(digits, "0123456789")] != '\0') {
    SLOGE("[%s] file size is invalid", who);
    return false;
  }
  errno = 0;
  const long long value = strtoll(token, nullptr, 10);
  if (errno != 0 || value < INT_MIN || value > INT_MAX) {
    SLOGE("[%s] file size exceeds vaild range", who);
    return false;
  }
  *size = static_cast<int>(value);
  return true;
}

// An entry in one piece of memory, or null.
default_content* make_entry(const char* root, const char* path, int size) {
  const size_t root_length = strlen(root), path_length = strlen(path);
  void* memory = malloc(sizeof(default_content) + root_length + path_length + 1);
  if (!memory) return nullptr;
  default_content* entry = static_cast<default_content*>(memory);
  char* full_path = reinterpret_cast<char*>(entry + 1);
  memcpy(full_path, root, root_length);
  memcpy(full_path + root_length, path, path_length + 1);
  *entry = {nullptr, nullptr, size, full_path};
  return entry;
}

}  // namespace

int ReadLine(FILE* file, char* buf) {
  int length = 0, c;
  while ((c = getc(file)) != EOF && c != '\n') {
    if (length < kLineSize - 1) buf[length] = static_cast<char>(c);
    if (length < INT_MAX) ++length;
  }
  buf[length < kLineSize ? length : kLineSize - 1] = '\0';
  return c == EOF ? -1 : length;
}

char* trimwhitespace(char* text) {
  while (isspace(static_cast<unsigned char>(*text))) ++text;
  size_t length = strlen(text);
  while (length > 0 && isspace(static_cast<unsigned char>(text[length - 1]))) --length;
  text[length] = '\0';
  return text;
}

default_content* read_configure_file(FILE* stream, const char* root) {
  default_content* first = nullptr;
  default_content* last = nullptr;
  char line[kLineSize];
  for (int length; (length = ReadLine(stream, line)) >= 0;) {
    char* text = trimwhitespace(line);
    if (*text == '\0' || *text == '#') continue;
    char* rest;
    const char* path = strtok_r(text, " ", &rest);
    const char* size_token = strtok_r(nullptr, " ", &rest);
    if (!size_token || length >= kLineSize) {
      SLOGE("[%s] Version.txt is not valid format. Token type is like /DeskKitIV/autorun.inf 46", __func__);
      break;
    }
    int size;
    if (!read_size(__func__, size_token, &size)) break;
    default_content* entry = make_entry(root, path, size);
    if (!entry) {
      SLOGE("[%s] Error in extracting file path: memory allocation wasn't possible, or some other error occurs",
            __func__);
      break;
    }
    entry->previous = last;
    (last ? last->next : first) = entry;
    last = entry;
  }
  return first;
}

namespace atd {

bool DefaultContents::take_over(default_content* first) {
  first_ = first;
  size_t count = 0, size = 2;
  for (const default_content* entry = first; entry; entry = entry->next) ++count;
  while (size < 2 * count) size *= 2;
  places_ = static_cast<default_content**>(calloc(size, sizeof *places_));
  if (!places_) return false;
  mask_ = size - 1;
  for (default_content* entry = first; entry; entry = entry->next) {
    size_t place = hash_of(entry->path) & mask_;
    while (places_[place] && strcmp(places_[place]->path, entry->path) != 0) place = (place + 1) & mask_;
    // What the list names twice is there but once: the second entry stays in the list.
    if (!places_[place]) places_[place] = entry;
  }
  return true;
}

DefaultContents::~DefaultContents() {
  while (first_) {
    default_content* next = first_->next;
    free(first_);
    first_ = next;
  }
  free(places_);
}

bool DefaultContents::take(const char* path) {
  for (size_t place = hash_of(path) & mask_; places_[place]; place = (place + 1) & mask_) {
    default_content* entry = places_[place];
    if (entry == &g_taken || strcmp(entry->path, path) != 0) continue;
    places_[place] = &g_taken;
    (entry->previous ? entry->previous->next : first_) = entry->next;
    if (entry->next) entry->next->previous = entry->previous;
    free(entry);
    return true;
  }
  return false;
}

}  // namespace atd
