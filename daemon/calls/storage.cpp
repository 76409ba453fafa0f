// The SD card, the internal storage.
#include "daemon/calls/row.h"

namespace atd {

namespace {

void trim(char* text, char* trimmed) { put(trimwhitespace(text), trimmed); }

}  // namespace

std::vector<Row> storage_calls() {
  return {
      {FUNCTION(read_uuid), "id", zero, "Reads the SD card's volume id."},
      {FUNCTION(get_sdcard_path), "path", zero, "Tests the SD card and tells its folder."},
      {FUNCTION(IsSDCardInserted), "", zero, "Tells whether there is an SD card."},
      {FUNCTION(GetSDCardMountStatus), "", zero, "Tells whether the SD card is mounted."},
      {FUNCTION(SetSDCardMount), "", zero, "Mounts the SD card."},
      {FUNCTION(SetSDCardUnMount), "", zero, "Unmounts the SD card."},
      {FUNCTION(mmc_mmcformat), "outcome", zero, "Formats the SD card.", kDestroys},
      {"trimwhitespace", trim, "TEXT trimmed", any, "Cuts the white space around a text off."},
      {FUNCTION(check_default_contents), "", zero, "Looks for what the SD card has beside its default contents."},
      {FUNCTION(factory_format), "", zero, "Deletes what the SD card has beside its default contents, mounted or not.",
       kDestroys},
      {FUNCTION(mmc_mmccheckcontents), "-", zero, "Checks that a mounted SD card has its default contents alone."},
      {FUNCTION(mmc_mmcfactoryformat), "done", zero, "Deletes all but the default contents from the SD card.",
       kDestroys},
      {FUNCTION(StartSDCardRWTest), "", zero, "Writes test.txt on the SD card, reads it back and leaves it there."},
      {FUNCTION(SDCardTestStart), "", zero, "Tests the SD card once, which mounts it, by writing and reading."},
      {FUNCTION(mmc_emt), "-", zero, "Tests the SD card by writing and reading, up to three times."},
      {FUNCTION(mmc_sdcheck), "-", zero, "Writes, reads and removes a file on the SD card."},
      {FUNCTION(mmc_dummysdcheck), "verdict", zero, "Tells 0 where the slot reports a card that is not there, else 1."},
      {FUNCTION(mmc_mmctotalsize), "kib", zero, "Tells the SD card's size in KiB."},
      {FUNCTION(mmc_mmcusedsize), "bytes", zero, "Tells the bytes that files take on the SD card."},
      {FUNCTION(recursive_dir_check), "PATH", value, "Tells the bytes of a file, or of all files below a folder."},
      {FUNCTION(is_empty_dir), "PATH", value, "Tells whether a folder holds an entry: 1, else 0."},
      {FUNCTION(mmc_emmccapacity), "mib", zero, "Tells the size of the internal eMMC in MiB."},
      {FUNCTION(mmc_ufscapacity), "mib", zero, "Tells the size of the internal UFS in MiB."},
      {FUNCTION(mmc_storage_isufs), "", any, "Tells whether the internal storage is UFS: 1, else 0."},
      {FUNCTION(ram_memory_size), "", size, "Tells the size of the RAM in MiB."},
      {FUNCTION(get_fs_size), "DEVICE", size, "Tells the size of the file system on a block device, 0 for none."},
      {FUNCTION(do_scsi_command_read), "FIELD", zero, "Logs the UFS device's \"vendor\" or firmware \"level\"."},
  };
}

}  // namespace atd
