#include "logs/unpack.h"

#include <ctype.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "logs/archive_file.h"
#include "logs/entry_place.h"
#include "logs/entry_reader.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/file.h"

using namespace atd;

namespace {

// Decimal, so 01204 octal: the folders have these odd modes on all phones.
constexpr int kFolderMode = 644;

constexpr size_t kNameSize = 256;
constexpr char kSeparators[] = "/\\";

bool make_folder(const char* path) {
  if (path[0] == '/') return mkdir(device_path(path), kFolderMode) == 0;
  return EntryPlace(path).make_folder(kFolderMode);
}

// The part of a name after its last separator.
const char* last_part(const char* name) {
  const char* last = name;
  for (; *name; ++name) {
    if (strchr(kSeparators, *name)) last = name + 1;
  }
  return last;
}

// Makes a folder after those above it; false for one with a missing part.
bool make_chain(char* path) {
  if (make_folder(path)) return true;
  for (char* end = path + (path[0] != '\0');; ++end) {
    end += strcspn(end, kSeparators);
    const char separator = *end;
    *end = '\0';
    if (!make_folder(path) && errno == ENOENT) {
      SLOGE("MINIOS_UNZIP : couldn't makedir directory %s\n", path);
      return false;
    }
    if (separator == '\0') return true;
    *end = separator;
  }
}

int read_character() {
  const int c = getchar();
  if (c == EOF) exit(1);
  return c;
}

// Asks standard input whether a file may be replaced; the answer's first letter, 'y', 'n' or 'a'.
int ask(const char* path) {
  for (;;) {
    SLOGI("MINIOS_UNZIP : The file %s exists. Overwrite ? [y]es, [n]o, [A]ll: ", path);
    int c;
    do {
      c = read_character();
    } while (isspace(c));
    const int answer = tolower(c);
    while (c != EOF && !isspace(c)) c = getchar();
    if (answer == 'y' || answer == 'n' || answer == 'a') return answer;
  }
}

// Makes a folder of its own for an entry whose name ends with a separator. One that is there, or that a missing folder
// above it prevents, is no failure.
int extract_folder(char* name) {
  SLOGI("MINIOS_UNZIP : creating directory: %s\n", name);
  for (size_t length = strlen(name); length > 1 && strchr(kSeparators, name[length - 1]);) name[--length] = '\0';
  if (make_folder(name) || (errno != ENOTDIR && errno != ELOOP)) return UNZ_OK;
  SLOGE("MINIOS_UNZIP : error creating %s\n", name);
  return UNZ_ERRNO;
}

int create_file(const char* path) {
  const int fd = EntryPlace(path).create_file();
  const char* last = last_part(path);
  if (fd >= 0 || last == path) return fd;
  char folder[kNameSize];
  const size_t length = static_cast<size_t>(last - path) - 1;
  memcpy(folder, path, length);
  folder[length] = '\0';
  makedir(folder);
  return EntryPlace(path).create_file();
}

// Writes the entry that is open to a file.
int extract_file(EntryReader& entry, const char* path, char* piece) {
  const int fd = create_file(path);
  if (fd < 0) {
    SLOGE("MINIOS_UNZIP : error opening %s\n", path);
    return UNZ_ERRNO;
  }
  SLOGI("MINIOS_UNZIP : extracting: %s\n", path);
  int length;
  while ((length = entry.read(piece)) > 0) {
    if (write_all(fd, piece, static_cast<size_t>(length))) continue;
    SLOGE("MINIOS_UNZIP : error in writing extracted file\n");
    close(fd);
    return UNZ_ERRNO;
  }
  if (length < 0) SLOGE("MINIOS_UNZIP : error %d with zipfile in unzReadCurrentFile\n", length);
  close(fd);
  return length;
}

int extract(unzFile archive, char* name, const unz_file_info64& info, int without_paths, int* overwrite,
            const char* password, char* piece) {
  const char* last = last_part(name);
  const bool is_folder = last[0] == '\0' && name[0] != '\0';
  if (is_folder && without_paths) return UNZ_OK;
  const char* path = without_paths ? last : name;
  if (leads_out(path)) {
    SLOGE("MINIOS_UNZIP : error opening %s, which leads out of the folder\n", name);
    return UNZ_BADZIPFILE;
  }
  if (is_folder) return extract_folder(name);
  EntryReader entry(archive);
  int error = entry.open(info, password);
  if (error != UNZ_OK) {
    SLOGE("MINIOS_UNZIP : error %d with zipfile in unzOpenCurrentFilePassword\n", error);
    return error;
  }
  int answer = 'y';
  if (!*overwrite && EntryPlace(path).has_file()) answer = ask(path);
  if (answer == 'a') *overwrite = 1;
  int result = UNZ_OK;
  if (answer != 'n') result = extract_file(entry, path, piece);
  error = entry.close();
  if (error != UNZ_OK) SLOGE("MINIOS_UNZIP : error %d with zipfile in unzCloseCurrentFile\n", error);
  return result != UNZ_OK ? result : error;
}

}  // namespace

int makedir(const char* path) {
  const size_t length = strlen(path);
  if (length == 0) return 0;
  char* copy = strdup(path);
  if (!copy) {
    SLOGE("MINIOS_UNZIP : Error allocating memory\n");
    return UNZ_INTERNALERROR;
  }
  if (copy[length - 1] == '/') copy[length - 1] = '\0';
  const bool done = make_chain(copy);
  free(copy);
  return done ? 1 : 0;
}

int do_extract_currentfile(unzFile archive, int* without_paths, int* overwrite, const char* password) {
  char name[kNameSize];
  unz_file_info64 info;
  const int error = unzGetCurrentFileInfo64(archive, &info, name, sizeof name, nullptr, 0, nullptr, 0);
  if (error != UNZ_OK) {
    SLOGE("MINIOS_UNZIP : error %d with zipfile in unzGetCurrentFileInfo\n", error);
    return error;
  }
  // minizip cuts a longer name, without a terminator.
  if (info.size_filename >= sizeof name || strlen(name) != info.size_filename) {
    SLOGE("MINIOS_UNZIP : an entry's name has a NUL, or more than 255 bytes\n");
    return UNZ_BADZIPFILE;
  }
  char* piece = static_cast<char*>(malloc(kZipPieceSize));
  if (!piece) {
    SLOGE("MINIOS_UNZIP : Error allocating memory\n");
    return UNZ_INTERNALERROR;
  }
  const int result = extract(archive, name, info, *without_paths, overwrite, password, piece);
  free(piece);
  return result;
}
