#include "client/arguments.h"

#include <ctype.h>
#include <errno.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <string.h>

#include "client/output.h"
#include "desk/nearest.h"
#include "desk/words.h"
#include "platform/records.h"

namespace atd::client {

Failure parse_opcode(const std::string& text, int32_t* opcode) {
  if (const Opcode* row = find_opcode(text.c_str())) {
    *opcode = row->number;
    return {};
  }
  bool is_signed = text.starts_with('-') || text.starts_with('+');
  if (text.size() > is_signed && isdigit(static_cast<unsigned char>(text[is_signed]))) {
    bool is_hex = text.compare(is_signed, 2, "0x") == 0 || text.compare(is_signed, 2, "0X") == 0;
    char* end = nullptr;
    errno = 0;
    long long number = strtoll(text.c_str(), &end, is_hex ? 16 : 10);
    if (*end == '\0' && errno == 0 && number >= INT32_MIN && number <= (is_hex ? UINT32_MAX : INT32_MAX)) {
      *opcode = static_cast<int32_t>(number);
      return {};
    }
    return {kUsage, fmt::format("\"{}\" is not an opcode: write a number from {} to {}, or 0x and up to 8 digits", text,
                                INT32_MIN, INT32_MAX)};
  }
  std::vector<std::string> names;
  for (const Opcode& row : opcodes()) names.push_back(row.name);
  return {kUsage, fmt::format("no request is named \"{}\"; nearest: {}; \"atdctl ops\" lists all", text,
                              listed(nearest(text, names, 3)))};
}

Failure parse_hex(const std::string& text, std::string* bytes) {
  bytes->clear();
  std::string_view rest = text;
  if (rest.starts_with("0x") || rest.starts_with("0X")) rest.remove_prefix(2);
  while (!rest.empty()) {
    if (strchr(" \t\n:-", rest[0]) != nullptr) {
      rest.remove_prefix(1);
    } else if (!take_hex_pair(&rest, bytes)) {
      return {kUsage,
              fmt::format("bytes in hex are pairs of hex digits, such as 01ff20: there is no pair at character {}",
                          text.size() - rest.size() + 1)};
    }
  }
  if (bytes->size() > MAX_RZCMD_REQ_SIZE) {
    return {kUsage,
            fmt::format("the payload has {} bytes; a request takes at most {}", bytes->size(), MAX_RZCMD_REQ_SIZE)};
  }
  return {};
}

Failure parse_text(const std::string& text, std::string* bytes) {
  constexpr size_t kMost = MAX_RZCMD_REQ_SIZE - 1;
  if (text.size() > kMost) {
    return {kUsage, fmt::format("the text has {} bytes; a request takes at most {} and the NUL that ends them. "
                                "--file sends bytes without that NUL",
                                text.size(), kMost)};
  }
  const size_t nul = text.find('\0');
  if (nul != text.npos) {
    return {kUsage,
            fmt::format("the text has a NUL at character {}, where it would end; bytes in hex may have NULs", nul + 1)};
  }
  *bytes = text;
  return {};
}

Failure check_payload(int32_t opcode, Given given, const std::string& payload) {
  const Opcode* row = find_opcode(opcode);
  if (row == nullptr) return {};
  const char* wrong = nullptr;
  if (given == Given::nothing) {
    // A forgotten one would write nothing over what is there. The destructive rows with a text or a number refuse an
    // empty one, or do not use it.
    const bool looks_first = row->payload != Payload::bytes && (row->effects & kDestructive) != 0;
    const bool takes_some = row->payload != Payload::none && row->payload != Payload::optional;
    if (takes_some && row->state == State::built && !looks_first) {
      wrong = "takes a payload: write it, or --hex \"\" for an empty one, in a batch hex:";
    }
  } else if (row->payload == Payload::none) {
    if (!payload.empty()) wrong = "takes no payload: leave it out";
  } else if (row->payload == Payload::optional) {
    const bool is_empty = payload.c_str()[0] == '\0';
    if (is_empty && given != Given::reading) {
      wrong = "writes a text, and this one is empty: write --read to read, or in a batch the name alone";
    }
  } else if (given == Given::reading) {
    wrong = "cannot be told to read; \"atdctl ops\" shows \"text or none\" for those that can";
  } else if (row->payload == Payload::bytes && given == Given::text) {
    wrong = "takes bytes: write them with --hex or --file, or in a batch as hex:HEX or text:TEXT";
  }
  return wrong == nullptr ? Failure() : Failure{kUsage, opcode_title(opcode) + " " + wrong};
}

Failure parse_request(const std::string& line, int32_t* opcode, std::string* payload) {
  std::string_view rest = line;
  Failure failure = parse_opcode(std::string(take_word(&rest)), opcode);
  skip_spaces(&rest);
  const bool is_hex = rest.starts_with("hex:"), is_text = rest.starts_with("text:");
  const Given given = rest.empty() ? Given::nothing : is_hex || is_text ? Given::bytes : Given::text;
  if (is_hex || is_text) rest.remove_prefix(rest.find(':') + 1);
  if (!failure) failure = is_hex ? parse_hex(std::string(rest), payload) : parse_text(std::string(rest), payload);
  return failure ? failure : check_payload(*opcode, given, *payload);
}

}  // namespace atd::client
