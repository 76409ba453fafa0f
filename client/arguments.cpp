#include "client/arguments.h"

#include <ctype.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

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
    return {kUsage, "\"" + text + "\" is not an opcode: write a number from -2147483648 to 2147483647, or 0x and up to 8 digits"};
  }
  std::vector<std::string> names;
  for (const Opcode& row : opcodes()) names.push_back(row.name);
  return {kUsage, "no request is named \"" + text + "\"; nearest: " + listed(nearest(text, names, 3)) +
                      "; \"atdctl ops\" lists all"};
}

Failure parse_hex(const std::string& text, std::string* bytes) {
  bytes->clear();
  std::string_view rest = text;
  if (rest.starts_with("0x") || rest.starts_with("0X")) rest.remove_prefix(2);
  while (!rest.empty()) {
    if (strchr(" \t\n:-", rest[0]) != nullptr) {
      rest.remove_prefix(1);
    } else if (!take_hex_pair(&rest, bytes)) {
      return {kUsage, "--hex takes pairs of hex digits, as 01ff20: no pair at character " +
                          std::to_string(text.size() - rest.size() + 1)};
    }
  }
  if (bytes->size() > MAX_RZCMD_REQ_SIZE) {
    return {kUsage, "the payload has " + std::to_string(bytes->size()) + " bytes, at most " +
                        std::to_string(MAX_RZCMD_REQ_SIZE) + " fit in a request"};
  }
  return {};
}

Failure parse_text(const std::string& text, std::string* bytes) {
  constexpr size_t kMost = MAX_RZCMD_REQ_SIZE - 1;
  if (text.size() > kMost) {
    return {kUsage, "the text has " + std::to_string(text.size()) + " bytes, at most " + std::to_string(kMost) +
                        " and an end fit in a request; bytes without an end go with --file"};
  }
  *bytes = text;
  return {};
}

Failure read_payload(const std::string& file, std::string* bytes) {
  bool is_input = file == "-";
  int fd = is_input ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC);
  char buffer[MAX_RZCMD_REQ_SIZE];
  ssize_t size = fd < 0 ? -1 : 1;
  bytes->clear();
  while (size > 0 && bytes->size() <= MAX_RZCMD_REQ_SIZE) {
    size = read(fd, buffer, sizeof buffer);
    if (size > 0) bytes->append(buffer, size);
  }
  int error = errno;
  if (!is_input && fd >= 0) close(fd);
  if (size < 0) return {kUsage, file + ": " + strerror(error)};
  if (bytes->size() > MAX_RZCMD_REQ_SIZE) {
    return {kUsage, (is_input ? "standard input" : file) + " has more bytes than the " +
                        std::to_string(MAX_RZCMD_REQ_SIZE) + " that fit in a request"};
  }
  return {};
}

Failure parse_request(const std::string& line, int32_t* opcode, std::string* payload) {
  constexpr char kBlanks[] = " \t";
  size_t begin = std::min(line.find_first_not_of(kBlanks), line.size());
  size_t end = std::min(line.find_first_of(kBlanks, begin), line.size());
  size_t text = std::min(line.find_first_not_of(kBlanks, end), line.size());
  Failure failure = parse_opcode(line.substr(begin, end - begin), opcode);
  return failure ? failure : parse_text(line.substr(text), payload);
}

}  // namespace atd::client
