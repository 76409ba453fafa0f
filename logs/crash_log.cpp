#include "logs/crash_log.h"

#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "factory/item_registry.h"
#include "platform/ftm_item.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"
#include "text/folder.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kFolder[] = "/data/logger/crash_info/";
constexpr size_t kSummarySize = 256;
constexpr int kRecords = 5;
constexpr unsigned kFirstItem = 231;
constexpr unsigned kItemStep = 4;

struct CrashCount {
  char unused[8];
  int32_t count;
  char unused_too[4];
};
static_assert(sizeof(CrashCount) == item<230>.length && offsetof(CrashCount, count) == 8);

struct CrashRecord {
  char header[32];
  char text[7468];
};
static_assert(sizeof(CrashRecord) == item<kFirstItem>.length);

// Writes a record's text to its file; false, with the failure reported, when that cannot be written.
bool write_text(const char* path, const CrashRecord& record) {
  if (mkdir(device_path(kFolder), 0755) != 0 && errno == ENOENT) {
    SLOGE("couldn't makedir directory : %s\n", kFolder);
    return false;
  }
  const int fd = open_target(path, O_TRUNC, 0666);
  if (fd < 0) {
    SLOGE("fopen fail : %s", path);
    return false;
  }
  // The reading afterwards finds a text that is cut.
  const bool written = write(fd, record.text, sizeof record.text) >= 0;
  close(fd);
  if (!written) SLOGE("fwrite fail");
  return written;
}

bool read_text(const char* path, CrashRecord* record) {
  const int fd = open_file(path);
  if (fd < 0) {
    SLOGE("fopen fail : %s", path);
    return false;
  }
  const bool whole = read(fd, record->text, sizeof record->text) == static_cast<ssize_t>(sizeof record->text);
  close(fd);
  if (!whole) SLOGE("fread fail");
  return whole;
}

// Appends the second line of a text without its first two characters.
void put_summary(const CrashRecord& record, TextWriter& out) {
  const char* end = record.text + strnlen(record.text, sizeof record.text);
  const char* line = static_cast<const char*>(memchr(record.text, '\n', static_cast<size_t>(end - record.text)));
  if (!line) return;
  ++line;
  const char* line_end = static_cast<const char*>(memchr(line, '\n', static_cast<size_t>(end - line)));
  const size_t length = static_cast<size_t>((line_end ? line_end : end) - line);
  if (length > 2) out.bytes(line + 2, length - 2);
}

// Saves the record `k` and appends its summary.
bool save(int k, TextWriter& out) {
  CrashRecord record = {};
  if (get_ftm_multi_item(kFirstItem + kItemStep * static_cast<unsigned>(k), sizeof record, &record) < 0) {
    SLOGE("%s Read Fail\n", kFolder);
    return false;
  }
  char path[sizeof kFolder + 32];
  TextWriter(path).format("%scrash_log%d.txt", kFolder, k);
  if (!write_text(path, record) || !read_text(path, &record)) return false;
  if (k > 0) out.put(';');
  put_summary(record, out);
  return true;
}

}  // namespace

int get_crash_count(char* out, int* length) {
  CrashCount crashes = {};
  TextWriter writer(out, 12);
  *length = 0;
  if (read_item(item<230>, &crashes) < 0) return -1;
  *length = static_cast<int>(writer.format("%d", crashes.count).length());
  return 0;
}

int erase_crash_count() {
  const CrashCount none = {};
  return write_item(item<230>, &none) < 0 ? -1 : 0;
}

int crash_log_save(char* out, int* length, int count) {
  char summaries[kSummarySize];
  TextWriter writer(summaries);
  out[0] = '\0';
  *length = 0;
  for (int k = 0; k < count && k < kRecords; ++k) {
    if (!save(k, writer)) return 1;
  }
  memcpy(out, summaries, writer.length() + 1);
  *length = static_cast<int>(writer.length());
  return 0;
}
