#include "logs/dump.h"

#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "factory/modem_items.h"
#include "logs/dump_file.h"
#include "logs/file_crc.h"
#include "logs/log_folders.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "storage/card_test.h"

using namespace atd;

namespace {

constexpr char kFileCrc[] = "/data/dbdump/FILE_CRC/file_crc.txt";
constexpr char kWizardFileCrc[] = "/data/dbdump/file_crc.txt";
constexpr char kPhoneStatus[] = "/data/dbdump/phone_status.txt";

int dump_files(const char* path, char* out) {
  FILE* dump = open_dump(path);
  if (!dump) {
    SLOGE("fopen file_crc.txt file failed.\n");
    return 0;
  }
  file_crc(out, dump);
  close_dump(dump);
  return 1;
}

void dump_sim_count(FILE* dump, bool as_character) {
  char count[MAX_RZCMD_REQ_SIZE + 1] = {};
  const int error = tav_issim_req("", 0, count, nullptr);
  if (error != 0) {
    SLOGE("Cannot get response. Return error:%d\n", error);
    fputs(error == RZCMD_FAIL ? "sim status cmd fail\r\n" : "sim status cmd is not supported\r\n", dump);
  } else if (strcmp(count, "0") == 0) {
    SLOGI("success issim number of sim is 0! \n");
    fputs("SIM count : 0\r\n", dump);
  } else {
    SLOGI("success issim! \n");
    // The digit as a number, on purpose: one SIM is 49.
    if (as_character) fprintf(dump, "SIM count : %c\r\n", count[0]);
    else fprintf(dump, "SIM count : %d\r\n", static_cast<unsigned char>(count[0]));
  }
}

int dump_status(bool sim_count_as_character) {
  FILE* dump = open_dump(kPhoneStatus);
  if (!dump) {
    SLOGE("fopen file_crc_result.txt file failed.\n");
    return 0;
  }
  char boot[PROPERTY_VALUE_MAX] = "";
  system_property_get("ro.bootmode", boot);
  fprintf(dump, "factory cable type : %s\r\n", boot);
  dump_sim_count(dump, sim_count_as_character);
  fprintf(dump, "sd card : %s\r\n", mmc_emt(nullptr) == 0 ? "true" : "false");
  close_dump(dump);
  return 1;
}

}  // namespace

int db_dump(char* out) {
  out[0] = '\0';
  for (const char* folder : {DBDUMP_DIR, "/data/dbdump/FILE_CRC/", "/data/dbdump/FPRI_CRC/", "/data/dbdump/DB_CRC/"}) {
    mkdir(device_path(folder), 0755);
  }
  if (request_to_system(kDbDump, nullptr, 0, nullptr, nullptr, nullptr) == RZCMD_FAIL) {
    SLOGE("DB DUMP request to system fail.\n");
  }
  return dump_files(kFileCrc, out);
}

int crcwizard_file_dump(char* out) {
  out[0] = '\0';
  return dump_files(kWizardFileCrc, out);
}

int phone_status_dump() { return dump_status(false); }
int crcwizard_phone_status_dump() { return dump_status(true); }
