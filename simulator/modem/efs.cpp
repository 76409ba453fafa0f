#include "simulator/modem/efs.h"

#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "channel/modem_records.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

// How many bytes a request has, by operation.
constexpr size_t kLengths[] = {
    0, 0, 0, kFilePathRequest, kFilePathRequest, kFileCloseRequest, kFileReadRequest, kFileWriteRequest};

// The modem's flags have the values of Linux on ARM, which for these are the same everywhere.
static_assert(O_RDONLY == 0 && O_WRONLY == 1 && O_RDWR == 2 && O_CREAT == 0100 && O_EXCL == 0200 && O_TRUNC == 01000 &&
              O_APPEND == 02000);
constexpr int kKnownFlags = O_ACCMODE | O_CREAT | O_EXCL | O_TRUNC | O_APPEND;

int word_at(const std::string& request, size_t offset) {
  int32_t word;
  memcpy(&word, request.data() + offset, sizeof word);
  return word;
}

// Opens the folder that a path's last part lies in, part by part and through no link, so that nothing leads out of the
// file system; with `create` makes those that are missing. A descriptor for the caller, or a negative error number.
int open_parent(const std::string& folder, const std::string& path, bool create, std::string* name) {
  int at = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (at < 0) return -errno;
  name->clear();
  for (size_t start = 0; start < path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string part = path.substr(start, end - start);
    start = end + 1;
    if (part.empty() || part == ".") continue;
    int error = part == ".." ? EACCES : 0;
    if (error == 0 && !name->empty()) {
      if (create) mkdirat(at, name->c_str(), 0770);
      const int next = openat(at, name->c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (next < 0) error = errno;
      else close(std::exchange(at, next));
    }
    if (error != 0) {
      close(at);
      return -error;
    }
    *name = part;
  }
  if (!name->empty()) return at;
  close(at);
  return -ENOENT;
}

}  // namespace

ModemEfs::ModemEfs(const std::string& root) : folder_(root + "/sim/efs") {
  files_.fill(-1);
  make_folders(folder_);
}

ModemEfs::~ModemEfs() { close_all(); }

void ModemEfs::close_all() {
  for (int& file : files_) {
    if (file != -1) close(file);
    file = -1;
  }
}

std::string ModemEfs::answer(const std::string& request) {
  int result = -EINVAL;
  std::string bytes;
  const size_t command = request.empty() ? 0 : static_cast<unsigned char>(request[0]);
  if (command >= kFileUnlink && command <= kFileWrite && request.size() >= kLengths[command]) {
    // A path of exactly 128 characters comes without a terminator.
    std::string path = request.substr(kFilePathAt, kFilePathSize);
    path.resize(strnlen(path.data(), path.size()));
    const int descriptor = word_at(request, kFileDescriptorAt);
    switch (command) {
      case kFileUnlink: result = unlink_file(path); break;
      case kFileOpen: result = open_file(path, word_at(request, kFileFlagsAt), word_at(request, kFileModeAt)); break;
      case kFileClose: result = close_file(descriptor); break;
      case kFileRead: result = read_file(descriptor, word_at(request, kFileReadCountAt), &bytes); break;
      case kFileWrite:
        result = write_file(descriptor, word_at(request, kFileWriteCountAt), &request[kFileWriteDataAt]);
        break;
    }
  }
  const int32_t word = result;
  return std::string(reinterpret_cast<const char*>(&word), sizeof word) + bytes;
}

int ModemEfs::open_file(const std::string& path, int flags, int mode) {
  const auto free = std::find(files_.begin(), files_.end(), -1);
  if (free == files_.end()) return -EMFILE;
  if ((flags & O_ACCMODE) == O_ACCMODE) return -EINVAL;
  std::string name;
  const int parent = open_parent(folder_, path, flags & O_CREAT, &name);
  if (parent < 0) return parent;
  // The modem has one user, who may always read and write his files, whatever mode they were made with.
  const mode_t permissions = (static_cast<mode_t>(mode) & 0777) | 0600;
  *free = openat(parent, name.c_str(), (flags & kKnownFlags) | O_NOFOLLOW | O_CLOEXEC, permissions);
  const int error = errno;
  close(parent);
  return *free < 0 ? -error : static_cast<int>(free - files_.begin());
}

int ModemEfs::unlink_file(const std::string& path) {
  std::string name;
  const int parent = open_parent(folder_, path, false, &name);
  if (parent < 0) return parent;
  const int error = unlinkat(parent, name.c_str(), 0) == 0 ? 0 : errno;
  close(parent);
  return -error;
}

int ModemEfs::native(int descriptor) const {
  const size_t index = static_cast<size_t>(descriptor);  // a negative one becomes too large
  return index < files_.size() ? files_[index] : -1;
}

int ModemEfs::close_file(int descriptor) {
  const int file = native(descriptor);
  if (file == -1) return -EBADF;
  files_[static_cast<size_t>(descriptor)] = -1;
  return close(file) == 0 ? 0 : -errno;
}

int ModemEfs::read_file(int descriptor, int count, std::string* bytes) {
  if (count < 0) return -EINVAL;
  bytes->resize(static_cast<size_t>(std::min(count, kFileChunk)));
  const ssize_t got = read(native(descriptor), bytes->data(), bytes->size());
  const int error = errno;
  bytes->resize(got < 0 ? 0 : static_cast<size_t>(got));
  return got < 0 ? -error : static_cast<int>(got);
}

int ModemEfs::write_file(int descriptor, int count, const char* bytes) {
  if (count < 0 || count > kFileChunk) return -EINVAL;
  const ssize_t put = write(native(descriptor), bytes, static_cast<size_t>(count));
  return put < 0 ? -errno : static_cast<int>(put);
}

}  // namespace atd::sim
