#include "simulator/phone_file/content.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

#include "desk/words.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr size_t kRun = 16;      // as many zeros are a run
constexpr size_t kHexLine = 32;  // bytes
constexpr off_t kBlock = 65536;

// The pieces of a content: runs of zeros, given by their length, and what is between them.
struct Piece {
  std::string bytes;
  int64_t zeros = 0;
};

std::vector<Piece> pieces_of(const Content& content) {
  std::vector<Piece> pieces;
  const std::string zeros(kRun, '\0');
  size_t at = 0;
  while (at < content.bytes.size()) {
    const size_t end = std::min(content.bytes.find(zeros, at), content.bytes.size());
    if (end > at) pieces.push_back({content.bytes.substr(at, end - at)});
    at = std::min(content.bytes.find_first_not_of('\0', end), content.bytes.size());
    if (at > end) pieces.push_back({"", static_cast<int64_t>(at - end)});
  }
  const int64_t rest = content.size - static_cast<int64_t>(content.bytes.size());
  if (rest >= static_cast<int64_t>(kRun)) pieces.push_back({"", rest});
  else if (rest > 0 && !pieces.empty()) pieces.back().bytes.append(static_cast<size_t>(rest), '\0');
  else if (rest > 0) pieces.push_back({std::string(static_cast<size_t>(rest), '\0')});
  return pieces;
}

bool is_control(char c) { return static_cast<unsigned char>(c) < ' ' || c == 127; }

bool is_text(const std::string& bytes) {
  return is_utf8(bytes) && std::none_of(bytes.begin(), bytes.end(),
                                        [](char c) { return is_control(c) && c != '\n' && c != '\t' && c != '\r'; });
}

// A text as it stands between quotes; `lines` keeps its line ends.
std::string escaped(const std::string& text, bool lines) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i], next = i + 1 < text.size() ? text[i + 1] : '"';
    if ((is_control(c) && c != '\t' && c != '\n') || (c == '\n' && !lines)) {
      char escape[8];
      snprintf(escape, sizeof escape, "\\u%04X", c);
      result += c == '\n' ? "\\n" : c == '\r' ? "\\r" : escape;
      continue;
    }
    if (c == '\\' || (c == '"' && (!lines || next == '"'))) result += '\\';
    result += c;
  }
  return result;
}

std::string hex(const std::string& bytes) {
  if (bytes.size() <= kHexLine) return "{ hex = \"" + to_hex(bytes) + "\" }";
  std::string text = "{ hex = \"\"\"\n";
  for (size_t at = 0; at < bytes.size(); at += kHexLine) text += to_hex(bytes.substr(at, kHexLine)) + "\n";
  return text + "\"\"\" }";
}

std::string to_toml(const Piece& piece, bool raw) {
  if (piece.zeros > 0) return "{ zeros = " + std::to_string(piece.zeros) + " }";
  return raw || !is_text(piece.bytes) ? hex(piece.bytes) : quoted(piece.bytes);
}

}  // namespace

bool Content::put(int64_t at, std::string more) {
  size = at + static_cast<int64_t>(more.size());
  more.erase(more.find_last_not_of('\0') + 1);
  // Zeros alone cost no memory.
  if (more.empty()) return true;
  if (at + static_cast<int64_t>(more.size()) > kBytesMax) return errno = EFBIG, false;
  bytes.resize(static_cast<size_t>(at));
  bytes += more;
  return true;
}

std::string Content::whole() const {
  std::string all = bytes;
  all.resize(static_cast<size_t>(size));
  return all;
}

Content content_of(std::string bytes) {
  Content content;
  content.size = static_cast<int64_t>(bytes.size());
  bytes.erase(bytes.find_last_not_of('\0') + 1);
  content.bytes = std::move(bytes);
  return content;
}

bool read_content(const std::string& path, Content* content) {
  const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  struct stat file = {};
  if (fd < 0) return false;
  bool whole = fstat(fd, &file) == 0;
  if (file.st_size > kSizeMax) whole = false, errno = EFBIG;
  std::string block(kBlock, '\0');
  *content = {};
  // A partition is mostly a hole.
  for (off_t at = 0, end = 0; whole && (at = lseek(fd, end, SEEK_DATA)) >= 0;) {
    end = lseek(fd, at, SEEK_HOLE);
    // Where the file has become shorter.
    if (end < 0) whole = false, errno = EIO;
    for (ssize_t got = 0; whole && at < end; at += got) {
      errno = EIO;  // for a read of nothing
      got = pread(fd, block.data(), static_cast<size_t>(std::min(end - at, kBlock)), at);
      whole = got > 0 && content->put(at, block.substr(0, static_cast<size_t>(got)));
    }
  }
  // Nothing but a hole follows.
  whole = whole && errno == ENXIO;
  content->size = std::max<int64_t>(content->size, file.st_size);
  const int error = errno;
  close(fd);
  errno = error;
  return whole;
}

bool write_content(const std::string& path, const Content& content) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0660);
  if (fd < 0) return false;
  bool whole = write_rest(fd, content.bytes) && ftruncate(fd, content.size) == 0;
  const int error = errno;
  if (close(fd) != 0) return false;
  errno = error;
  return whole;
}

size_t packed_size(const Content& content) {
  size_t size = 0;
  for (const Piece& piece : pieces_of(content)) size += piece.bytes.size();
  return size;
}

std::string to_toml(const Content& content, bool raw) {
  const std::vector<Piece> pieces = pieces_of(content);
  if (pieces.empty()) return "\"\"";
  if (pieces.size() == 1) return to_toml(pieces[0], raw);
  std::string text = "[\n";
  for (const Piece& piece : pieces) text += to_toml(piece, raw) + ",\n";
  return text + "]";
}

std::string quoted(const std::string& text) {
  // One line end at the end is easier to read as "\n".
  const bool lines = text.find('\n') < text.size() - 1 && !text.empty();
  const bool plain = std::none_of(text.begin(), text.end(), [](char c) { return is_control(c) || c == '\''; });
  if (!lines && plain && text.find_first_of("\"\\") != text.npos) return "'" + text + "'";
  return lines ? "\"\"\"\n" + escaped(text, true) + "\"\"\"" : "\"" + escaped(text, false) + "\"";
}

std::string quoted_key(const std::string& key) {
  constexpr const char* kBare = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  return !key.empty() && key.find_first_not_of(kBare) == key.npos ? key : "\"" + escaped(key, false) + "\"";
}

}  // namespace atd::sim
