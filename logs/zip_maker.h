// Packing folders into zip archives, and unpacking them.
#pragma once

#include <unzip.h>
#include <zip.h>

#pragma GCC visibility push(default)

// One archive that is written, and one that is read. An object is used by one thread at a time; the caller closes both
// archives before it goes away. Nothing is removed after a failure.
class MakeZipFile {
 public:
  MakeZipFile() = default;
  MakeZipFile(const MakeZipFile&) = delete;
  MakeZipFile& operator=(const MakeZipFile&) = delete;

  // Creates an archive, in place of a file of that name; 1, or 0 when it cannot be made.
  int OpenZip(const char* path);

  // Writes the archive's directory and closes it.
  void CloseZip();

  // Adds all files below a folder in the order of the folders; 0, or 1 when the folder cannot be opened. A link counts
  // as what it leads to; what cannot be read becomes an empty entry, and so does a link to a folder that it is in. With
  // `top` 1, entry names begin behind the folder's path. Each entry takes one "/" off the end of the caller's text. A
  // path of more than 999 characters is left out. Takes at most 8 MiB of memory apart from the archive's directory and
  // the folders that are open, and ends the threads that it starts.
  int FolderToZip(char* folder, int top);

  // Adds a file with what it holds when it is opened; 0 also for a file that cannot be read or added, or -104 without
  // memory.
  int FileToZip(const char* path);

  // Writes a file's time in local time to *out; 1, or 0 with the time 0 when it cannot be read, or the path is "-". Of
  // the path the first 255 characters count. The first argument is not used.
  int filetime(const void*, const char* path, tm_zip* out);

  // Opens an archive and makes "/cache/minios" the process's working folder, which all relative paths follow; 1, or 0
  // with nothing open.
  int OpenUnZip(const char* path);

  // Closes the archive; minizip's result, or 0 when none was open.
  int CloseUnZip();

  // Unpacks all entries into the working folder as do_extract_currentfile does; 0, 1 when one failed, which ends it, or
  // 2 when the archive's directory cannot be read.
  int FolderFromZip(int without_paths, int overwrite, const char* password);

 private:
  zipFile zip_ = nullptr;
  unzFile unzip_ = nullptr;
  [[maybe_unused]] void* reserved_ = nullptr;
  int root_length_ = 0;  // characters of a path that its entry's name does not have
};

#pragma GCC visibility pop

static_assert(sizeof(MakeZipFile) == (sizeof(void*) == 4 ? 16 : 32), "hosts are built with this layout");
