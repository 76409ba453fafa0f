#include "logs/nv_crc.h"

#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "logs/crc_text.h"
#include "logs/dump_file.h"
#include "logs/log_folders.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/records.h"
#include "storage/card.h"
#include "text/file.h"
#include "text/folder.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kDump[] = "/data/nvdump/nvcrc.txt";
constexpr size_t kDumpSize = 1024;
constexpr size_t kMostLeftOut = UINT8_MAX;

// The items that differ between phones of one software; the first 0 ends the list.
constexpr uint16_t kSkippedItems[127] = {258, 372, 374,  375,  452,  465,   466,  562,
                                         714, 909, 1014, 1015, 1017, 37900, 37902};

// The modem's record, and a terminator behind it.
struct NvRecord {
  char text[MAX_RZCMD_REQ_SIZE + 1] = {};

  uint8_t at(size_t place) const { return static_cast<uint8_t>(text[place]); }
  uint32_t crc() const { return uint32_t{at(2)} << 24 | at(3) << 16 | at(4) << 8 | at(5); }
};

int ask(NvRecord* record) {
  int length = 0;
  return frst_modem_data_clear_check(record->text, &length);
}

}  // namespace

int frst_modem_data_clear_check(char* response, int* length) {
  uint8_t request[sizeof kSkippedItems];
  for (size_t i = 0; i < sizeof request; ++i) request[i] = static_cast<uint8_t>(kSkippedItems[i / 2] >> (i % 2 * 8));
  return request_to_system(kNvCrc, reinterpret_cast<const char*>(request), sizeof request, response, length, nullptr);
}

int nv_crc(char* out) {
  NvRecord record;
  if (ask(&record) != 0) return 0;
  TextWriter(out, 9).format("%08X", record.crc());
  return 1;
}

int nv_dump() {
  NvRecord record;
  if (ask(&record) != 0) return 0;
  mkdir(device_path(NVDUMP_DIR), 0755);
  FILE* file = open_dump(kDump);
  if (!file) {
    SLOGE("fopen nvcrc.txt file failed.\n");
    return 0;
  }
  char items[kMostLeftOut * sizeof "65280, "];
  TextWriter list(items);
  for (size_t i = 0, place = 6; i < record.at(0); ++i, place += 2) {
    // Times 255 on purpose; stations compare the text.
    list.format("%ld, ", record.at(place + 1) * 255L + record.at(place));
  }
  char dump[kDumpSize] = {};
  // The total is the record itself, read as a text: stations compare that, too.
  TextWriter(dump).format("[ Factory Reset NV CRC Result ] NV CRC : 0x%08lx, Total : %s, NV item : %s",
                          static_cast<unsigned long>(record.crc()), record.text, items);
  fwrite(dump, 1, sizeof dump, file);
  close_dump(file);
  return 1;
}

int nv_copy(char* out) {
  out[0] = '\0';
  char dump[kDumpSize] = {};
  const int source = open_file(kDump);
  if (source < 0) return 0;
  const ssize_t got = read(source, dump, sizeof dump);
  close(source);
  if (got < 0) return 0;

  char card[102];
  if (get_sdcard_path(card) != 0) SLOGE("get_sdcard_path FAIL!");
  char path[128];
  TextWriter(path).format("%snvdump", card);
  mkdir(device_path(path), 0755);
  // A link on the card leads nowhere.
  const bool is_folder = Folder(Folder(card[0] ? card : ".").fd(), "nvdump").is_open();
  TextWriter(path).format("%snvdump/nvcrc_copy.txt", card);
  SLOGI("nvcopy path : %s", path);
  FILE* file = is_folder ? open_dump(path) : nullptr;
  if (!file) {
    SLOGE("%s: fopen fail!", __func__);
    return 0;
  }
  fwrite(dump, 1, sizeof dump, file);
  close_dump(file);
  if (request_crc_text(kMediaScan, out) != 0) {
    SLOGE(" ##   scan fail! ");
    return 0;
  }
  SLOGI(" ##   media scan ok!");
  return 1;
}
