// The logs, archives, checksums, the screen.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <map>
#include <string>

#include "daemon/calls/row.h"

namespace atd {

namespace {

// Each makes a ScreenCapture of its own.
int capture(int left, int top, int width, int height, int bits) {
  return ScreenCapture().captureScreen(left, top, width, height, bits);
}

int capture_all(int* width, int* height) {
  ScreenCapture screen;
  const int got = screen.captureScreen();
  *width = screen.getScreenWidth();
  *height = screen.getScreenHeight();
  return got;
}

int capture_program(int left, int top, int width, int height, int bits) {
  ScreenCapture screen;
  if (screen.init() != 0) return 0;
  return screen.captureScreenSF(left, top, width, height, bits);
}

// The CRC of what was captured: a person compares pictures by it.
unsigned checksum(const unsigned char* data, int length) {
  return data ? static_cast<unsigned>(crc32(0, data, static_cast<uInt>(length))) : 0;
}

int reduce(int threshold, unsigned* crc) {
  ScreenCapture screen;
  screen.captureScreen();
  const int made = screen.convertToBW(threshold);
  *crc = checksum(screen.getCapturedBW(), screen.getCapturedBWSize());
  return made;
}

int save(int png, const char* path) { return ScreenCapture().saveScreenToFile(png, path); }

int pack_file(const char* archive, const char* file) {
  MakeZipFile zip;
  if (zip.OpenZip(archive) != 1) return -1;
  const int result = zip.FileToZip(file);
  zip.CloseZip();
  return result;
}

int pack_folder(const char* archive, char* folder) {
  MakeZipFile zip;
  if (zip.OpenZip(archive) != 1) return -1;
  const int result = zip.FolderToZip(folder, 1);
  zip.CloseZip();
  return result;
}

// Unpacking changes the working folder, which belongs to the whole process.
int unpack(const char* archive, const char* password) {
  const int before = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (before < 0) return -1;
  MakeZipFile zip;
  int result = -1;
  if (zip.OpenUnZip(archive) == 1) {
    result = zip.FolderFromZip(0, 1, *password ? password : nullptr);
    zip.CloseUnZip();
  }
  if (fchdir(before) != 0) result = -1;
  close(before);
  return result;
}

int file_time(const char* path, char* time) {
  tm_zip told = {};
  const int result = MakeZipFile().filetime(nullptr, path, &told);
  snprintf(time, kToldSize, "%04d-%02d-%02d %02d:%02d:%02d", static_cast<int>(told.tm_year) + 1900,
           static_cast<int>(told.tm_mon) + 1, static_cast<int>(told.tm_mday), static_cast<int>(told.tm_hour),
           static_cast<int>(told.tm_min), static_cast<int>(told.tm_sec));
  return result;
}

int crc_of_files(char* crc) { return file_crc(crc, nullptr); }
uint32_t crc_of_sizes(const char* path, uint32_t crc) { return getfilesizecrc(path, crc, nullptr); }
int crc_of_folder(const char* path) { return find_file(path, nullptr); }

// The paths, a line each, as many as have room; the number of all.
int list(const char* path, bool all, char* paths) {
  std::map<std::string, struct stat> files;
  get_file_list(path, files);
  if (!all) skip_file_list(files);
  std::string text;
  for (const auto& file : files) {
    if (text.size() + file.first.size() + 1 >= kToldSize) break;
    text += (text.empty() ? "" : "\n") + file.first;
  }
  put(text, paths);
  return static_cast<int>(files.size());
}

int list_all(const char* path, char* paths) { return list(path, true, paths); }
int list_counted(const char* path, char* paths) { return list(path, false, paths); }

}  // namespace

std::vector<Row> logs_calls() {
  return {
      {"LOGGER_DIR", +[](char* out) { put(LOGGER_DIR, out); }, "path", any, "Tells the logger's folder."},
      {"ANR_DIR", +[](char* out) { put(ANR_DIR, out); }, "path", any, "Tells the folder of hung applications."},
      {"DONTPANIC_DIR", +[](char* out) { put(DONTPANIC_DIR, out); }, "path", any, "Tells the kernel crashes' folder."},
      {"TOMBSTONES_DIR", +[](char* out) { put(TOMBSTONES_DIR, out); }, "path", any, "Tells the tombstones' folder."},
      {"CKERROR_DIR", +[](char* out) { put(CKERROR_DIR, out); }, "path", any, "Tells the check errors' folder."},
      {"DBDUMP_DIR", +[](char* out) { put(DBDUMP_DIR, out); }, "path", any, "Tells the dumps' folder."},
      {"MTS_DIR", +[](char* out) { put(MTS_DIR, out); }, "path", any, "Tells the MTS log service's folder."},
      {"NVDUMP_DIR", +[](char* out) { put(NVDUMP_DIR, out); }, "path", any, "Tells the NV dump's folder."},
      {"TOUCH_DIR", +[](char* out) { put(TOUCH_DIR, out); }, "path", any, "Tells the touch test's folder."},
      {"ENCRYPT_DIR", +[](char* out) { put(ENCRYPT_DIR, out); }, "path", any, "Tells the encrypted logs' folder."},
      {FUNCTION(copy_log), "DESTINATION SOURCE", any, "Copies a folder of logs line by line; both end in \"/\".",
       kDestroys},
      {FUNCTION(set_directory_name), "name", any, "Tells the name of a log save made now."},
      {FUNCTION(get_external_logsave_path), "path", zero, "Tests the SD card and tells its folder for log saves."},
      {FUNCTION(logsave), "TARGET", zero, "Collects the logs in a folder below the target, which ends in \"/\"."},
      {FUNCTION(logsave_makezip), "ARCHIVE FOLDER", zero, "Packs a folder into an archive.", kDestroys},
      {FUNCTION(logsave_erase), "", any, "Erases the logs and the internal saves.", kDestroys},
      {FUNCTION(Delete_Folder), "PATH", zero, "Removes a folder with its files and folders.", kDestroys},
      {FUNCTION(scan_auto_touch_result), "piece", zero, "Tells the next piece of the touch test's result."},
      {FUNCTION(logsave_aat_touch), "piece", zero, "Tells the next piece of the touch test's result."},
      {FUNCTION(check_transfer_status), "more", any, "Tells whether there are more pieces: 1, else 0."},
      {FUNCTION(get_crash_count), "crashes:12#", zero, "Tells the number of crashes."},
      {FUNCTION(erase_crash_count), "", zero, "Sets the number of crashes to 0.", kDestroys},
      {FUNCTION(crash_log_save), "lines:256# COUNT", zero, "Saves records of crashes and tells their second lines."},
      {FUNCTION(copy_file), "SOURCE DESTINATION", zero, "Copies a file.", kDestroys},
      {FUNCTION(copy_dir), "SOURCE DESTINATION", zero, "Copies a folder.", kDestroys},
      {FUNCTION(cap_screen), "", any, "Takes a picture of the screen for the MTS log service."},
      {FUNCTION(set_dest_path), "SOURCE path", zero, "Tells where a copy for the MTS log service lies."},
      {FUNCTION(clear_dest), "PATH", zero, "Removes a file or a folder.", kDestroys},
      {FUNCTION(copy_latest), "SOURCE", zero, "Copies a file or a folder for the MTS log service."},
      {FUNCTION(copy_to_mtslog), "", zero, "Copies what crashes have left for the MTS log service."},
      {FUNCTION(mts_log_makezip), "NAME KIND", zero, "Makes these copies and has the platform pack the MTS logs.",
       kAsksPlatform},
      {FUNCTION(mts_log_erase), "", any, "Removes the MTS logs and their archive.", kDestroys},
      {FUNCTION(mts_log_on), "", zero, "Tells whether the MTS log service is active: 0, else 1."},
      {FUNCTION(mts_log_off), "", zero, "Tells what mts_log_on tells, and switches nothing."},
      {FUNCTION(mts_get_status), "works", zero, "Tells whether the MTS log service is idle or working: 0 or 1."},

      {"captureScreen", capture, "LEFT TOP WIDTH HEIGHT BITS", size,
       "Captures a rectangle of the screen and tells its size in bytes."},
      {"captureScreen_all", capture_all, "width height", size,
       "Captures the whole screen at 16 bits a pixel and tells its size in bytes."},
      {"captureScreenSF", capture_program, "LEFT TOP WIDTH HEIGHT BITS", size,
       "Captures a rectangle by screencap, or from the framebuffer, and tells its size in bytes."},
      {"convertToBW", reduce, "THRESHOLD crc", size,
       "Captures the screen as a bitmap, one bit a pixel, and tells its size in bytes and its CRC-32."},
      {"saveScreenToFile", save, "PNG PATH", zero, "Writes what is on the screen into a file: raw with 0, else PNG.",
       kDestroys},

      {"FileToZip", pack_file, "ARCHIVE FILE", zero, "Packs a file into a new archive.", kDestroys},
      {"FolderToZip", pack_folder, "ARCHIVE FOLDER", zero, "Packs what is below a folder into a new archive.",
       kDestroys},
      {"FolderFromZip", unpack, "ARCHIVE PASSWORD", zero, "Unpacks an archive into /cache/minios; \"\" is no password.",
       kDestroys},
      {"filetime", file_time, "PATH time", one, "Tells a file's time as an archive has it."},
      {FUNCTION(makedir), "PATH", one,
       "Makes a folder and those above it: 1, also when it cannot; 0 where the folder around a part is missing."},

      {FUNCTION(calculate_crc), "DATA#", any, "Tells the CRC-16 of a block."},
      {FUNCTION(get_pid_crc), "crc", zero, "Tells the CRC of the product ID."},
      {FUNCTION(atox), "TEXT", any, "Reads a hexadecimal number."},
      {FUNCTION(code_crc), "crc", one, "Tells the CRC of the software partitions."},
      {"file_crc", crc_of_files, "crc", one, "Tells the CRC of the phone's files."},
      {"getfilesizecrc", crc_of_sizes, "FOLDER CRC", any, "Goes on with a CRC over the sizes of a folder's files."},
      {"find_file", crc_of_folder, "FOLDER", zero, "Goes on with the last CRC over the contents of a folder's files.",
       kInDaemon},
      {"get_file_list", list_all, "FOLDER paths", any,
       "Tells the files below a folder that the file CRC counts, as many as 64 KiB hold; the result counts all."},
      {"skip_file_list", list_counted, "FOLDER paths", any, "Tells the same files without those of the skip list."},
      {FUNCTION(frst_modem_data_clear_check), "record:2048#", zero, "Tells the modem's CRC of its numbered items."},
      {FUNCTION(nv_crc), "crc", one, "Tells the CRC of the modem's numbered items."},
      {FUNCTION(nv_dump), "", one, "Writes the CRC of the modem's numbered items to /data/nvdump."},
      {FUNCTION(nv_copy), "answer", one, "Copies /data/nvdump/nvcrc.txt to the SD card.", kAsksPlatform},
      {FUNCTION(db_dump), "crc", one, "Has the platform dump its databases, and writes the list of the files.",
       kAsksPlatform},
      {FUNCTION(crcwizard_file_dump), "crc", one, "Writes the list of the files that the file CRC counts."},
      {FUNCTION(phone_status_dump), "", one, "Writes /data/dbdump/phone_status.txt."},
      {FUNCTION(crcwizard_phone_status_dump), "", one,
       "Writes /data/dbdump/phone_status.txt with the SIM count as a digit."},
      {FUNCTION(crc_command), "TYPE answer", zero, "Runs the CRC command of this number, 0 to 8.", kAsksPlatform},
      {FUNCTION(crcwizard_command), "TYPE answer", zero, "Runs the CRC wizard's command 0: dumps and the files' CRC."},
      {FUNCTION(db_crc), "crc", one, "Asks the platform for the CRC of its databases.", kAsksPlatform},
      {FUNCTION(fpri_crc), "crc", one, "Asks the platform for the CRC of the FPRI.", kAsksPlatform},
      {FUNCTION(db_copy), "answer", one, "Has the platform copy its databases.", kAsksPlatform},
  };
}

}  // namespace atd
