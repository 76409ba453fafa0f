#include "logs/zip_maker.h"

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "logs/archive_file.h"
#include "logs/archive_workers.h"
#include "logs/copy_guard.h"
#include "logs/unpack.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/folder.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kUnpackFolder[] = "/cache/minios";
constexpr size_t kTimedPathSize = 256;

const char* entry_name(const char* path, int root_length) {
  const char* name = path + strnlen(path, static_cast<size_t>(root_length));
  return name + strspn(name, "/\\");
}

// The way of one archive through a tree.
struct Packing {
  MakeZipFile& zip;
  ArchiveWorkers workers;
  int root_length;
  char path[kArchivePathSize];

  // Adds an entry of a folder whose path is in `path`, with all that lies below it.
  void add(const CopyLevel& outer, size_t length, const dirent& entry) {
    const int added = snprintf(path + length, sizeof path - length, "/%s", entry.d_name);
    if (added >= static_cast<int>(sizeof path - length)) {
      // A part of the path would name something else.
      SLOGE("LOGSAVE : too long a path %s...\n", path);
    } else if (entry.d_type == DT_REG || !add_all(outer, length + static_cast<size_t>(added))) {
      add_file();
    }
    path[length] = '\0';
  }

  // Adds what is in the folder in `path`; false for what is none, or is a folder that the way has led through.
  bool add_all(const CopyLevel& outer, size_t length) {
    Folder folder(path);
    const CopyLevel level(&outer, path, nullptr);
    if (!folder.is_open() || level.goes_round()) return false;
    while (const dirent* entry = folder.next()) add(level, length, *entry);
    return true;
  }

  void add_file() {
    if (!workers.has_threads()) {
      zip.FileToZip(path);
      return;
    }
    tm_zip time;
    zip.filetime(nullptr, path, &time);
    workers.add(path, entry_name(path, root_length), time);
  }
};

}  // namespace

int MakeZipFile::OpenZip(const char* path) {
  if (zip_) CloseZip();
  zip_ = create_archive(path);
  if (zip_) SLOGI("LOGSAVE : creating %s\n", path);
  else SLOGI("LOGSAVE : error opening %s\n", path);
  return zip_ ? 1 : 0;
}

void MakeZipFile::CloseZip() {
  if (zip_ && zipClose(zip_, nullptr) != ZIP_OK)
    SLOGE("LOGSAVE : error in closing the zipfile (%s)\n", strerror(errno));
  zip_ = nullptr;
}

int MakeZipFile::FolderToZip(char* folder, int top) {
  if (top == 1) root_length_ = static_cast<int>(strlen(folder));
  const CopyLevel level(nullptr, folder, nullptr);
  Folder opened(folder);
  if (!opened.is_open()) {
    SLOGI("LOGSAVE : [FolderToZip] Directory Open ERROR!!!!\n");
    return 1;
  }
  Packing packing = {*this, ArchiveWorkers(zip_), root_length_, ""};
  while (const dirent* entry = opened.next()) {
    // The caller's text loses a "/" with each entry.
    const size_t length = strlen(folder);
    if (length > 0 && folder[length - 1] == '/') folder[length - 1] = '\0';
    TextWriter path(packing.path);
    if (path.text(folder).cut()) SLOGE("LOGSAVE : too long a path %s...\n", packing.path);
    else packing.add(level, path.length(), *entry);
  }
  return 0;
}

int MakeZipFile::FileToZip(const char* path) {
  zip_fileinfo info = {};
  filetime(nullptr, path, &info.tmz_date);
  ArchiveSource source(path);
  if (zipOpenNewFileInZip3_64(zip_, entry_name(path, root_length_), &info, nullptr, 0, nullptr, 0, nullptr, Z_DEFLATED,
                              kZipLevel, 0, -MAX_WBITS, kZipMemoryLevel, Z_DEFAULT_STRATEGY, nullptr, 0,
                              source.is_large()) != ZIP_OK) {
    SLOGI("LOGSAVE : error in opening %s in zipfile\n", path);
    return 0;
  }
  int result = 0;
  if (!source.is_open()) {
    SLOGI("LOGSAVE : error in opening %s for reading\n", path);
  } else if (void* piece = malloc(kZipPieceSize)) {
    while (const size_t length = source.next(piece)) {
      if (zipWriteInFileInZip(zip_, piece, static_cast<unsigned>(length)) == ZIP_OK) continue;
      SLOGI("LOGSAVE : error in writing %s in the zipfile\n", path);
      free(piece);
      return 0;
    }
    free(piece);
    if (source.failed()) SLOGI("LOGSAVE : error in reading %s\n", path);
  } else {
    SLOGI("LOGSAVE : Error allocating memory\n");
    result = ZIP_INTERNALERROR;
  }
  if (zipCloseFileInZip(zip_) != ZIP_OK) SLOGI("LOGSAVE : error in closing %s in the zipfile\n", path);
  return result;
}

int MakeZipFile::filetime(const void*, const char* path, tm_zip* out) {
  struct stat status = {};
  int result = 0;
  if (strcmp(path, "-") != 0) {
    char timed[kTimedPathSize];
    const size_t length = TextWriter(timed).text(path).length();
    if (length > 0 && timed[length - 1] == '/') timed[length - 1] = '\0';
    result = stat(device_path(timed), &status) == 0;
  }
  struct tm local = {};
  const time_t time = result ? status.st_mtime : 0;
  tzset();
  localtime_r(&time, &local);
  out->tm_sec = static_cast<uInt>(local.tm_sec);
  out->tm_min = static_cast<uInt>(local.tm_min);
  out->tm_hour = static_cast<uInt>(local.tm_hour);
  out->tm_mday = static_cast<uInt>(local.tm_mday);
  out->tm_mon = static_cast<uInt>(local.tm_mon);
  out->tm_year = static_cast<uInt>(local.tm_year);
  return result;
}

int MakeZipFile::OpenUnZip(const char* path) {
  CloseUnZip();
  errno = 0;
  unzip_ = open_archive(path);
  if (!unzip_) {
    SLOGE("LOGSAVE : OpenUnZip error %s : (%s)\n", path, strerror(errno));
    return 0;
  }
  SLOGI("LOGSAVE : OpenUnZip creating %s\n", path);
  if (chdir(device_path(kUnpackFolder)) == 0) return 1;
  // Unpacked elsewhere, the archive could replace any file.
  SLOGE("LOGSAVE : OpenUnZip cannot enter %s : (%s)\n", kUnpackFolder, strerror(errno));
  CloseUnZip();
  return 0;
}

int MakeZipFile::CloseUnZip() {
  const int result = unzip_ ? unzClose(unzip_) : 0;
  unzip_ = nullptr;
  return result;
}

int MakeZipFile::FolderFromZip(int without_paths, int overwrite, const char* password) {
  unz_global_info64 info;
  int error = unzGetGlobalInfo64(unzip_, &info);
  if (error != UNZ_OK) {
    SLOGE("MINIOS_UNZIP : error %d with zipfile in unzGetGlobalInfo \n", error);
    return 2;
  }
  // After a first unpacking the last entry is the current one.
  unzGoToFirstFile(unzip_);
  for (ZPOS64_T number = 1; number <= info.number_entry; ++number) {
    if (do_extract_currentfile(unzip_, &without_paths, &overwrite, password) != UNZ_OK) return 1;
    if (number == info.number_entry) break;
    error = unzGoToNextFile(unzip_);
    if (error != UNZ_OK) {
      SLOGE("MINIOS_UNZIP : error %d with zipfile in unzGoToNextFile\n", error);
      return 1;
    }
  }
  return 0;
}
