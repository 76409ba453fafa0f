#include "storage/card_test.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "storage/card.h"
#include "storage/card_path.h"
#include "storage/volume.h"
#include "text/file.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kRwText[] = "1234";
constexpr char kCheckText[] = "SD card test";
constexpr char kCardDetect[] = "/sys/devices/soc.0/7864900.sdhci/mmc_host/mmc1/cd_status";

// Writes a text with one write; true when it is written whole, else false with errno.
bool write_text(int fd, const char* text) {
  const ssize_t written = write(fd, text, strlen(text));
  if (written == static_cast<ssize_t>(strlen(text))) return true;
  if (written >= 0) errno = ENOSPC;
  return false;
}

// Reads the file's beginning into text, which is terminated; true when that has the length of `expected`, else false
// with errno.
template <size_t size>
bool read_text(int fd, char (&text)[size], const char* expected) {
  const ssize_t got = pread(fd, text, size - 1, 0);
  text[got > 0 ? got : 0] = '\0';
  if (got == static_cast<ssize_t>(strlen(expected))) return true;
  if (got >= 0) errno = EIO;
  return false;
}

// Each step of the check fails with a message of its own.
bool report(const char* who, const char* step) {
  SLOGE("[%s] %s Fail. Error : %d", who, step, errno);
  return false;
}

bool check_file(const char* who, int fd) {
  if (!write_text(fd, kCheckText)) return report(who, "Write");
  char text[sizeof kCheckText + 1];
  if (!read_text(fd, text, kCheckText)) return report(who, "Read");
  SLOGI("[%s] read string : %s", who, text);
  errno = EIO;
  return strcmp(text, kCheckText) == 0 || report(who, "Read");
}

}  // namespace

int StartSDCardRWTest() {
  char folder[kCardPathSize], path[kCardPathSize];
  if (!card_path("", folder)) return -1;
  TextWriter(path).format("%s/test.txt", folder);
  const int fd = open_new(path, O_RDWR);
  if (fd < 0) {
    const int error = errno;
    SLOGE("[%s] Error : Can not open folder %s. errno %d(%s)\n", __func__, folder, error, strerror(error));
    return -1;
  }
  char text[sizeof kRwText + 1] = {};
  int result = -1;
  if (!write_text(fd, kRwText)) SLOGE("[%s] Error : Can not write file %s\n", __func__, path);
  else if (!read_text(fd, text, kRwText)) SLOGE("[%s] Error : Can not read file %s\n", __func__, path);
  else if (strcmp(text, kRwText) != 0) SLOGE("[%s] Error : Data is not same %s\n", __func__, path);
  else result = 0;
  close(fd);
  return result;
}

int SDCardTestStart() {
  if (IsSDCardInserted() != 0) {
    SLOGE("[%s] Error : Sdcard is not inserted\n", __func__);
    return -1;
  }
  if (GetSDCardMountStatus() != 0) {
    SLOGI("[%s] Info : Sdcard is not mounted\n", __func__);
    if (SetSDCardMount() != 0) {
      SLOGE("[%s] Error : Sdcard is not mounted\n", __func__);
      return -1;
    }
  }
  const int result = StartSDCardRWTest();
  char path[kCardPathSize];
  if (card_path("/test.txt", path)) remove(device_entry(path));
  if (result == 0) return 0;
  SLOGE("[%s] Error : Can not read/write data to sdcard\n", __func__);
  return -1;
}

int mmc_emt(char*) {
  for (int retries = 3; retries > 0; --retries) {
    const int result = SDCardTestStart();
    if (result == 0) {
      SLOGI("[%s] 250-23-0 : SUCCESS!\n", __func__);
      return 0;
    }
    SLOGE("[%s] Test Failed (retries %d), (result %d)", __func__, retries, result);
  }
  return 1;
}

int mmc_sdcheck(char*) {
  char path[kCardPathSize];
  if (!card_path("/Test.txt", path)) return -1;
  if (!require_mounted(__func__)) return 1;
  const int fd = open_new(path, O_RDWR);
  if (fd < 0) {
    report(__func__, "Write");
    return 1;
  }
  const bool good = check_file(__func__, fd);
  close(fd);
  if (remove(device_entry(path)) != 0) {
    report(__func__, "Remove");
    return 1;
  }
  if (!good) return 1;
  SLOGI("[%s] Remove Success", __func__);
  return 0;
}

int mmc_dummysdcheck(char* out) {
  SLOGI("[%s] === DUMMY_SDCARD_CHECK START ===", __func__);
  TextWriter writer(out, 2);
  FILE* node = fopen(device_path(kCardDetect), "re");
  if (!node) {
    SLOGE("[%s] Error : Can not open file %s\n", __func__, kCardDetect);
    return 1;
  }
  const int detected = getc(node);
  fclose(node);
  if (detected == EOF) {
    SLOGE("[%s] Error : Can not read file %s\n", __func__, kCardDetect);
    return 1;
  }
  const char text[] = {static_cast<char>(detected), '\0'};
  const bool exists = access(device_path(kCardDevice), F_OK) == 0;
  SLOGI("[DUMMY_SDCARD_CHECK] SDCARD_DET : %s, %d\n", text, exists);
  const bool dummy = detected == '1' && !exists;
  if (dummy) SLOGI("[DUMMY_SDCARD_CHECK] Dummy SD Card Detected!!!");
  writer.text(dummy ? "0" : "1");
  return 0;
}
