#include "client/identities.h"

#include <ctype.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <functional>
#include <random>
#include <string_view>
#include <utility>

#include "channel/opcodes.h"
#include "client/input.h"
#include "client/output.h"
#include "desk/json_bytes.h"
#include "desk/words.h"
#include "factory/item_registry.h"
#include "platform/records.h"

namespace atd::client {
namespace {

// PID, serial number, IMEI, MSN, CSN, MEID; addresses have a form.
constexpr unsigned kItems[] = {4, 9, 13, 18, 37, 207};
constexpr char kGap[] = "…";
constexpr std::string_view kMarks = "0123456789abcdefghjkmnpqrstvwxyz";
constexpr size_t kMarkSize = 4;
constexpr size_t kFirst = 6, kLast = 2, kLeastShown = 10;
constexpr size_t kLeastHash = 32;  // hex digits
constexpr size_t kMostRead = 4096;
constexpr size_t kLeastValue = 6;  // a shorter item is not looked for: it would be found everywhere

bool is_alnum(char c) { return isalnum(static_cast<unsigned char>(c)) != 0; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_hex(char c) { return isxdigit(static_cast<unsigned char>(c)) != 0; }

// SipHash-2-4: without the key nobody can tell which value has a mark by trying them all.
uint64_t keyed_hash(const uint64_t key[2], std::string_view text) {
  uint64_t v[] = {key[0] ^ 0x736f6d6570736575, key[1] ^ 0x646f72616e646f6d, key[0] ^ 0x6c7967656e657261,
                  key[1] ^ 0x7465646279746573};
  auto mix = [&v](int rounds) {
    while (rounds-- > 0) {
      v[0] += v[1], v[2] += v[3];
      v[1] = std::rotl(v[1], 13) ^ v[0], v[3] = std::rotl(v[3], 16) ^ v[2];
      v[0] = std::rotl(v[0], 32);
      v[2] += v[1], v[0] += v[3];
      v[1] = std::rotl(v[1], 17) ^ v[2], v[3] = std::rotl(v[3], 21) ^ v[0];
      v[2] = std::rotl(v[2], 32);
    }
  };
  const uint64_t last = static_cast<uint64_t>(text.size()) << 56;
  for (size_t at = 0; at <= text.size(); at += 8) {
    uint64_t word = at + 8 > text.size() ? last : 0;
    for (size_t i = 0; i < 8 && at + i < text.size(); ++i) {
      word |= static_cast<uint64_t>(static_cast<unsigned char>(text[at + i])) << 8 * i;
    }
    v[3] ^= word, mix(2), v[0] ^= word;
  }
  v[2] ^= 0xff, mix(4);
  return v[0] ^ v[1] ^ v[2] ^ v[3];
}

std::string key_file(const std::string& folder) {
  std::error_code ignored;
  if (!folder.empty() && std::filesystem::is_directory(folder + "/sim", ignored)) return folder + "/sim/identity-key";
  const char* state = getenv("XDG_STATE_HOME");
  const char* home = getenv("HOME");
  std::string parent = state != nullptr && *state == '/' ? state : "";
  if (parent.empty()) parent = std::string(home == nullptr ? "" : home) + "/.local/state";
  std::filesystem::create_directories(parent + "/atdctl", ignored);
  return parent + "/atdctl/identity-key";
}

bool read_key(const std::string& file, uint64_t key[2]) {
  std::string bytes, text;
  if (read_file(file, kMostRead, &text)) return false;
  from_hex(text.substr(0, 4 * sizeof *key), &bytes);  // a line end follows
  if (bytes.size() != 2 * sizeof *key) return false;
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(key));
  return true;
}

// Another client may make the key at the same time: the first one to be there whole counts for both.
void make_key(const std::string& file, uint64_t key[2]) {
  std::random_device random;
  for (uint64_t* half : {&key[0], &key[1]}) *half = static_cast<uint64_t>(random()) << 32 | random();
  std::string own = file + ".XXXXXX";
  const int fd = mkstemp(own.data());
  if (fd < 0) return;
  const std::string text = to_hex({reinterpret_cast<const char*>(key), 2 * sizeof *key}) + "\n";
  const bool whole = write_all(fd, text) == 0;
  close(fd);
  if (whole && link(own.c_str(), file.c_str()) != 0) read_key(file, key);
  unlink(own.c_str());
}

// How many characters from `at` on are such, at most kLeastHash.
size_t run_of(bool (*is)(char), std::string_view text, size_t at) {
  const std::string_view rest = text.substr(at, kLeastHash);
  return static_cast<size_t>(std::find_if_not(rest.begin(), rest.end(), is) - rest.begin());
}

// Whether the digits at `at` stand in so many hex digits that these are a hash.
bool is_in_hash(std::string_view text, size_t at) {
  size_t begin = at;
  while (begin > 0 && at - begin < kLeastHash && is_hex(text[begin - 1])) --begin;
  return run_of(is_hex, text, begin) >= kLeastHash;
}

// Characters of the identity at `at` that its form tells, 0 for none.
size_t identity_size(std::string_view text, size_t at) {
  auto in = [&](size_t i, bool (*is)(char)) { return i < text.size() && is(text[i]); };
  if (at > 0 && is_digit(text[at - 1])) return 0;
  const size_t digits = run_of(is_digit, text, at), hex = run_of(is_hex, text, at);
  if (digits >= 14 && digits <= 16 && !is_in_hash(text, at)) return digits;
  if (at > 0 && is_alnum(text[at - 1])) return 0;
  if ((hex == 12 || hex == 14) && !in(at + hex, is_alnum)) return hex;
  if (hex != 2 || at + 2 >= text.size() || (text[at + 2] != ':' && text[at + 2] != '-')) return 0;
  constexpr size_t kAddress = 17;
  for (size_t i = 0; i < kAddress; ++i) {
    if (i % 3 == 2 ? !in(at + i, [](char) { return true; }) || text[at + i] != text[at + 2] : !in(at + i, is_hex)) {
      return 0;
    }
  }
  return in(at + kAddress, is_alnum) ? 0 : kAddress;
}

// Whether the letters and digits look like a serial number. Digits alone do not: they may be a number of bytes.
bool looks_like_a_serial_number(std::string_view word) {
  constexpr size_t kLeast = 10, kMost = 20;
  constexpr std::ptrdiff_t kLeastDigits = 6;
  const std::ptrdiff_t digits = std::count_if(word.begin(), word.end(), is_digit);
  return word.size() >= kLeast && word.size() <= kMost && digits >= kLeastDigits &&
         digits < static_cast<std::ptrdiff_t>(word.size()) && !word.starts_with("0x");
}

// Characters of the word at `at` that looks like a serial number, 0 for none.
size_t serial_number_size(std::string_view text, size_t at) {
  if (at > 0 && is_alnum(text[at - 1])) return 0;
  const size_t size = run_of(is_alnum, text, at);
  return looks_like_a_serial_number(text.substr(at, size)) ? size : 0;
}

bool has_mask(std::string_view text) {
  const std::string_view gap = kGap;
  for (size_t at = 0; (at = text.find(gap, at)) != text.npos;) {
    at += gap.size();
    const size_t hash = text.find('#', at);
    if (hash == text.npos || (hash != at && hash != at + kLast)) continue;
    const std::string_view mark = text.substr(hash + 1, kMarkSize);
    if (mark.size() == kMarkSize && mark.find_first_not_of(kMarks) == mark.npos) return true;
  }
  return false;
}

// What a record has room for, cut before a character that has none.
std::string cut(std::string data) {
  if (data.size() <= MAX_RZCMD_REQ_SIZE) return data;
  size_t end = MAX_RZCMD_REQ_SIZE;
  while (end > 0 && (data[end] & 0xc0) == 0x80) --end;
  return data.substr(0, end);
}

}  // namespace

void Identities::find_values() {
  using namespace std::chrono_literals;
  std::error_code error;
  const auto written = std::filesystem::last_write_time(folder_ + "/sim/items", error);
  // The time of a write is coarse: what is written soon after it was read may have the same.
  if (folder_.empty() || error || written + 1s < read_) return;
  read_ = std::filesystem::file_time_type::clock::now();
  for (unsigned index : kItems) {
    std::string value;
    const std::string file = fmt::format("{}/sim/items/{}-{}", folder_, index, find_item(index)->length);
    if (read_file(file, kMostRead, &value)) continue;
    value = text_of(value);
    if (value.ends_with('\n')) value.pop_back();  // an editor's
    if (value.size() < kLeastValue) continue;
    values_.insert(value);
    if (!is_utf8(value)) values_.insert(to_hex(value));  // as lists show it
  }
}

std::string Identities::masked(const std::string& value) {
  if (!std::exchange(has_key_, true)) {
    const std::string file = key_file(folder_);
    if (!read_key(file, key_)) make_key(file, key_);
  }
  std::string known;
  for (char c : value) {
    if (is_alnum(c)) known += static_cast<char>(toupper(c));
  }
  uint64_t hash = keyed_hash(key_, known);
  std::string mark;
  for (size_t i = 0; i < kMarkSize; ++i, hash /= kMarks.size()) mark += kMarks[hash % kMarks.size()];
  const bool shows = known.size() >= kLeastShown;
  return (shows ? known.substr(0, kFirst) : "") + kGap + (shows ? known.substr(known.size() - kLast) : "") + "#" + mark;
}

std::string Identities::in_text(const std::string& text) { return in_text(text, false); }

std::string Identities::in_text(const std::string& text, bool has_serial_numbers) {
  if (plain_) return text;
  find_values();
  std::string out;
  for (size_t at = 0; at < text.size();) {
    size_t size = identity_size(text, at);
    if (has_serial_numbers) size = std::max(size, serial_number_size(text, at));
    for (const std::string& value : values_) {
      if (strncasecmp(text.c_str() + at, value.c_str(), value.size()) == 0) size = std::max(size, value.size());
    }
    // What was never set is no identity.
    if (text.substr(at, size).find_first_not_of("0:-") == text.npos) size = 0;
    out += size == 0 ? text.substr(at, 1) : masked(text.substr(at, size));
    at += std::max<size_t>(size, 1);
  }
  return out;
}

std::string Identities::in_json(const std::string& line) {
  if (plain_) return line;
  Json json = Json::parse(line, nullptr, false);
  if (json.is_discarded()) return in_text(line);
  const std::function<void(Json&)> mask = [&](Json& part) {
    std::string bytes;
    if (part.is_string()) {
      part = in_text(part.get<std::string>());
    } else if (part.is_object() && part.size() == 1 && part.contains("hex") && from_json(part, &bytes)) {
      // Bytes that are an address as a whole, or a text that is not UTF-8.
      const std::string digits = to_hex(bytes), hidden = in_text(digits);
      part = hidden == digits ? to_json(in_text(bytes)) : Json(hidden);
    } else if (part.is_structured()) {
      for (auto& inner : part) mask(inner);
    }
  };
  mask(json);
  return json.dump() + "\n";
}

std::string Identities::in_data(int32_t opcode, const std::string& data) {
  const std::string text = text_of(data);
  return opcode == kPhoneNumber && !plain_ && !text.empty() ? masked(text) : in_text(data, true);
}

Message Identities::in_message(const Message& message) {
  if (plain_) return message;
  Request request;
  Response response;
  std::string error, text;
  if (message.code == kAnswerCode && !decode_response(message.text, &response, &error)) {
    text = fmt::format("{}{}; --plain shows it", kMalformed, error);
  } else if (message.code == kAnswerCode) {
    const std::string hidden = in_data(0, response.data);
    if (hidden == response.data) return message;
    response.data = cut(hidden);
    const std::string line = response_line(response);
    text = line.substr(line.find(' ') + 1);
  } else if (decode_request(message.text, &request)) {
    const std::string hidden = in_data(request.opcode, request.payload);
    if (hidden == request.payload) return message;
    const std::string line = request_line(request.opcode, cut(hidden));
    text = line.substr(line.find(' ') + 1);
  } else {
    text = in_text(message.text, true);
  }
  return {message.code, text, message.code == 0 ? text : fmt::format("{} {}", message.code, text)};
}

bool is_masked(const Message& message) {
  Request request;
  Response response;
  std::string error;
  if (message.code == kAnswerCode && decode_response(message.text, &response, &error)) return has_mask(response.data);
  return has_mask(decode_request(message.text, &request) ? request.payload : message.text);
}

}  // namespace atd::client
