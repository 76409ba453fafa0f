#include "logs/file_crc.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <vector>

#include "platform/log.h"
#include "platform/os.h"
#include "storage/tree_walk.h"
#include "text/file.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr char kSkipList[] = "/system/etc/file_crc_skip_list.txt";
constexpr const char* kHashedTrees[] = {"/cust", "/OP", "/data/.OP", "/data/preload", "/data/media/0/Preload"};
constexpr size_t kHashedPathSize = 256;
constexpr size_t kPieceSize = 64 * 1024;

std::atomic<uint32_t> g_running_crc{0};

template <size_t size>
bool contains(const char* text, size_t length, const char (&part)[size]) {
  return memmem(text, length, part, size - 1) != nullptr;
}

// Whether what the walk has come upon counts by the rules of its folder.
bool is_counted(const TreeWalk& tree) {
  const char* folder = tree.path();
  const char* name = tree.name();
  const size_t length = static_cast<size_t>(name - 1 - folder);
  if (contains(folder, length, "/data/preload")) {
    if (tree.type() == DT_DIR || (tree.type() == DT_REG && strstr(name, ".apk"))) return true;
    SLOGI("Only check preload apk files, %s file is skipped", name);
    return false;
  }
  if (contains(folder, length, "/cust")) return strcmp(name, "_COTA_RES") != 0;
  return !contains(folder, length, "/OP") || strcmp(name, "_SMARTCA_RES") != 0;
}

void report_no_access(const char* path) { SLOGE("Cannot access %s : %s", path, strerror(errno)); }

// Calls `visit` with the path and the status of each entry of a file list.
template <typename Visit>
void walk_list(const char* root, Visit visit) {
  TreeWalk tree("get_file_list", root, report_no_access);
  for (TreeWalk::Step step; (step = tree.next()) != TreeWalk::Step::end;) {
    if ((step != TreeWalk::Step::file && step != TreeWalk::Step::folder) || !is_counted(tree)) continue;
    struct stat status;
    if (step == TreeWalk::Step::folder) tree.enter();
    else if (fstatat(tree.folder(), tree.name(), &status, AT_SYMLINK_NOFOLLOW) == 0) visit(tree.path(), status);
    else report_no_access(tree.path());
  }
}

// Calls `remove` with each line of the skip list; it returns whether there was such a path.
template <typename Remove>
void read_skip_list(Remove remove) {
  FILE* lines = fopen(device_path(kSkipList), "re");
  if (!lines) {
    SLOGI("There is no file_crc_skip_list.txt, maybe this model doesn't use skip_file_list() function");
    return;
  }
  char* line = nullptr;
  size_t room = 0;
  for (ssize_t length; (length = getline(&line, &room, lines)) >= 0;) {
    if (length > 0 && line[length - 1] == '\n') line[--length] = '\0';
    // No path has a NUL.
    if (strlen(line) == static_cast<size_t>(length) && remove(line)) SLOGI("skip file : %s", line);
  }
  free(line);
  fclose(lines);
}

// What file_crc keeps of a file list: the paths, one behind the other, and what it needs of each.
class FileList {
 public:
  void add(const char* path, off_t size) {
    files_.push_back({paths_.size(), size, false});
    paths_.append(path, strlen(path) + 1);
  }

  // Sorts the files by path. A folder that changes while it is read may give a name twice; the first one stays.
  void sort() {
    std::sort(files_.begin(), files_.end(), [this](const File& a, const File& b) {
      const int order = strcmp(path(a), path(b));
      return order != 0 ? order < 0 : a.path < b.path;
    });
    files_.erase(std::unique(files_.begin(), files_.end(),
                             [this](const File& a, const File& b) { return strcmp(path(a), path(b)) == 0; }),
                 files_.end());
  }

  // Skips a file of the sorted list; false when there is none, or it is skipped already.
  bool skip(const char* wanted) {
    const auto found =
        std::lower_bound(files_.begin(), files_.end(), wanted,
                         [this](const File& file, const char* text) { return strcmp(path(file), text) < 0; });
    if (found == files_.end() || found->skipped || strcmp(path(*found), wanted) != 0) return false;
    return found->skipped = true;
  }

  uint32_t fold(uint32_t crc, FILE* list) const {
    for (const File& file : files_) {
      if (file.skipped) continue;
      // The lowest byte alone, on purpose.
      const Bytef low = static_cast<Bytef>(file.size);
      crc = static_cast<uint32_t>(crc32(crc, &low, 1));
      if (!list) continue;
      char line[256];
      TextWriter(line).format("file: %s, size: %lld crc= 0x%x\r\n", path(file), static_cast<long long>(file.size), crc);
      fputs(line, list);
    }
    return crc;
  }

 private:
  struct File {
    size_t path;
    off_t size;
    bool skipped;
  };

  const char* path(const File& file) const { return paths_.c_str() + file.path; }

  std::string paths_;
  std::vector<File> files_;
};

// Goes on with a CRC over a file's content; false with errno when it cannot be opened or read.
bool fold_content(int folder, const char* name, Bytef* piece, uint32_t* crc) {
  // Nothing holds the daemon up that was put into the file's place meanwhile.
  const int fd = openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return false;
  count_file();
  uint32_t running = *crc;
  size_t got;
  do {
    got = read_up_to(fd, piece, kPieceSize);
    running = static_cast<uint32_t>(crc32(running, piece, static_cast<uInt>(got)));
  } while (got == kPieceSize);
  const int error = errno;
  close(fd);
  errno = error;
  if (error == 0) *crc = running;
  return error == 0;
}

// What find_file does, with the CRC given.
int fold_tree(const char* dir, FILE* list, uint32_t* crc) {
  TreeWalk tree("find_file", dir, [](const char*) {});
  if (!tree.is_open()) return 1;
  Bytef piece[kPieceSize];
  for (TreeWalk::Step step; (step = tree.next()) != TreeWalk::Step::end;) {
    if ((step != TreeWalk::Step::file && step != TreeWalk::Step::folder) || !is_counted(tree)) continue;
    if (strlen(tree.path()) >= kHashedPathSize) {
      SLOGE("[find_file] Error : Too long a path : %s\n", tree.path());
    } else if (step == TreeWalk::Step::folder) {
      if (strcmp(tree.path(), "/data/preload/oat") != 0) tree.enter();
    } else if (tree.type() == DT_REG) {
      if (!fold_content(tree.folder(), tree.name(), piece, crc)) SLOGE("fopen fail\n");
      else if (list) fprintf(list, "file: %s, crc= 0x%x\r\n", tree.path(), *crc);
    }
  }
  return 0;
}

}  // namespace

int file_crc(char* out, FILE* list) {
  uint32_t crc = getfilesizecrc("/system", 0, list);
  for (const char* dir : kHashedTrees) fold_tree(dir, list, &crc);
  g_running_crc = crc;
  SLOGI("File Search Done. %08x\n", crc);
  TextWriter(out, 9).format("%08X", crc);
  return 1;
}

uint32_t getfilesizecrc(const char* root, uint32_t crc, FILE* list) {
  FileList files;
  walk_list(root, [&](const char* path, const struct stat& status) { files.add(path, status.st_size); });
  files.sort();
  read_skip_list([&](const char* path) { return files.skip(path); });
  return files.fold(crc, list);
}

int find_file(const char* dir, FILE* list) {
  uint32_t crc = g_running_crc;
  const int result = fold_tree(dir, list, &crc);
  g_running_crc = crc;
  return result;
}

void get_file_list(std::string dir, std::map<std::string, struct stat>& list) {
  walk_list(dir.c_str(), [&](const char* path, const struct stat& status) { list.emplace(path, status); });
}

void skip_file_list(std::map<std::string, struct stat>& list) {
  read_skip_list([&](const char* path) { return list.erase(path) > 0; });
}
