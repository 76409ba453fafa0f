#include "logs/touch_result.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kResult[] = "/data/touch/touch_self_test.txt";
constexpr char kOffset[] = "/data/auto_touch_offset";

constexpr size_t kOutSize = 2600;
constexpr size_t kPieceSize = 512;
constexpr size_t kPidSize = 30;

// Opens a file as a stream, or null.
FILE* open_text(const char* path) {
  const int fd = open_file(path);
  FILE* file = fd < 0 ? nullptr : fdopen(fd, "r");
  if (fd >= 0 && !file) close(fd);
  return file;
}

void put_pid(TextWriter& out) {
  char pid[kPidSize + 1] = "";
  if (get_pid(pid) == 0) {
    out.text(pid);
  } else {
    SLOGE("get_pid error!");
    out.text("pid read error");
  }
  out.put(' ');
}

// Goes on where the last piece ended; false when there was none.
bool resume(FILE* result) {
  FILE* file = open_text(kOffset);
  if (!file) return false;
  char token[129] = "";
  if (fscanf(file, "%128s", token) != 1) token[0] = '\0';
  fclose(file);
  SLOGI("fd_starting point: %s", token);
  fseeko(result, strtoll(token, nullptr, 10), SEEK_SET);
  return true;
}

void keep_offset(long long offset) {
  // Not emptied first: on a full disk the old offset must not get lost.
  const int fd = open_target(kOffset, 0, 0666);
  char text[24];
  const int length = snprintf(text, sizeof text, "%lld", offset);
  if (fd >= 0) errno = ENOSPC;  // a short write sets none
  if (fd < 0 || write(fd, text, static_cast<size_t>(length)) != length || ftruncate(fd, length) != 0) {
    SLOGE("[%s] Error : Can not write %s. errno %d(%s)\n", "scan_auto_touch_result", kOffset, errno, strerror(errno));
  }
  if (fd >= 0) close(fd);
  SLOGI("fd_end: %lld", offset);
}

}  // namespace

int scan_auto_touch_result(char* out) {
  FILE* result = open_text(kResult);
  if (!result) {
    SLOGE("fail to open the file");
    return -1;
  }
  const size_t length = strnlen(out, kOutSize - 1);
  TextWriter writer(out + length, kOutSize - length);
  if (!resume(result)) {
    SLOGI("fd_start from zero");
    put_pid(writer);
  }
  char token[2049];
  size_t total = 0;
  while (total <= kPieceSize && fscanf(result, "%2048s", token) == 1) {
    writer.text(token).put(' ');
    total += strlen(token) + 1;
  }
  if (total > kPieceSize) keep_offset(ftello(result));
  else if (total > 0) remove(device_entry(kOffset));
  fclose(result);
  SLOGI("%s", out);
  return 0;
}

int logsave_aat_touch(char* out) {
  SLOGI("logsave_aat_touch()");
  return scan_auto_touch_result(out);
}

int check_transfer_status(char* out) {
  TextWriter writer(out, 2);
  if (access(device_path(kOffset), F_OK) != 0) {
    writer.put('0');
    SLOGI("transfer has completed! data: %s", out);
    return 0;
  }
  writer.put('1');
  SLOGI("being transfered.. data: %s", out);
  return 1;
}
