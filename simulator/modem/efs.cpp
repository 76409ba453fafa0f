#include "simulator/modem/efs.h"

#include <android/log.h>
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

int word_at(const std::string& request, size_t offset) {
  int32_t word;
  memcpy(&word, request.data() + offset, sizeof word);
  return word;
}

// What the desktop cannot write; gives the error back as the modem's result.
int not_written(const std::string& path, int error) {
  __android_log_print(ANDROID_LOG_ERROR, "modem", "EFS: cannot write %s: %s", path.c_str(), strerror(error));
  return -error;
}

bool may_write(int flags) { return (flags & O_ACCMODE) != O_RDONLY; }

}  // namespace

// An open file and what its descriptors share.
struct ModemEfs::File {
  std::string path;      // its parts, each after a "/"
  std::string name;      // the last part
  int folder = -1;       // the folder that it lies in
  int content = -1;      // the file or its draft
  std::string draft;     // the draft's path, "" while there is none
  bool removed = false;  // the draft has nothing to replace any more
  int failed = 0;        // the error of a write that failed; the draft is not to replace the file

  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() {
    if (content != -1) close(content);
    if (folder != -1) close(folder);
    if (!draft.empty()) unlink(draft.c_str());
  }
};

ModemEfs::ModemEfs(const std::string& root, const std::atomic<bool>& syncs)
    : folder_(root + "/sim/efs"), drafts_(root + "/sim/efs-open/"), syncs_(syncs) {
  make_folders(folder_);
  make_folders(drafts_);
  empty_folder(drafts_);
}

void ModemEfs::close_all() { descriptors_.fill({}); }

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
      case kFileOpen: result = open_file(path, word_at(request, kFileFlagsAt)); break;
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

// Fills in path, name and folder; 0, or a negative error number. The folder is opened part by part and through no link,
// so that nothing leads out of the file system; with `create` those that are missing are made.
int ModemEfs::open_parent(File* file, const std::string& path, bool create) {
  file->folder = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file->folder < 0) return -errno;
  for (size_t start = 0; start < path.size();) {
    const size_t end = std::min(path.find('/', start), path.size());
    const std::string part = path.substr(start, end - start);
    start = end + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") return -EACCES;
    if (!file->name.empty()) {
      const char* name = file->name.c_str();
      if (create && mkdirat(file->folder, name, 0770) == 0 && syncs_ && fsync(file->folder) != 0) return -errno;
      const int next = openat(file->folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (next < 0) return -errno;
      close(std::exchange(file->folder, next));
    }
    file->name = part;
    file->path += "/" + part;
  }
  return file->name.empty() ? -ENOENT : 0;
}

std::shared_ptr<ModemEfs::File> ModemEfs::opened(const std::string& path) const {
  for (const Descriptor& one : descriptors_) {
    if (one.file && one.file->path == path && !one.file->removed) return one.file;
  }
  return nullptr;
}

int ModemEfs::open_file(const std::string& path, int flags) {
  const auto free = std::find_if(descriptors_.begin(), descriptors_.end(), [](auto& one) { return !one.file; });
  if (free == descriptors_.end()) return -EMFILE;
  if ((flags & O_ACCMODE) == O_ACCMODE) return -EINVAL;
  const bool create = flags & O_CREAT;
  auto file = std::make_shared<File>();
  const int error = open_parent(file.get(), path, create);
  if (error != 0) return create ? not_written(path, -error) : error;
  bool exists = true;
  if (auto other = opened(file->path)) {
    file = other;
  } else {
    // The modem has one user, who may always read and write his files, whatever mode they were made with.
    file->content = openat(file->folder, file->name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    exists = file->content >= 0;
    if (!exists && (errno != ENOENT || !create)) return -errno;
    struct stat found;
    if (exists && (fstat(file->content, &found) != 0 || !S_ISREG(found.st_mode))) return -EISDIR;
  }
  if (exists && create && (flags & O_EXCL)) return -EEXIST;
  if (!exists || ((flags & O_TRUNC) && may_write(flags))) {
    if (!start_draft(file.get(), false)) return not_written(file->path, errno);
  }
  *free = {file, flags, 0};
  return static_cast<int>(free - descriptors_.begin());
}

int ModemEfs::unlink_file(const std::string& path) {
  File file;
  int error = -open_parent(&file, path, false);
  if (error != 0) return -error;
  if (unlinkat(file.folder, file.name.c_str(), 0) != 0) error = errno;
  if (auto open = opened(file.path); open && (error == 0 || error == ENOENT)) {
    open->removed = true;
    error = 0;
  }
  if (error == 0 && syncs_ && fsync(file.folder) != 0) error = errno;
  return error == 0 || error == ENOENT || error == EISDIR ? -error : not_written(file.path, error);
}

ModemEfs::Descriptor* ModemEfs::at(int descriptor) {
  const size_t index = static_cast<size_t>(descriptor);  // a negative one becomes too large
  return index < descriptors_.size() && descriptors_[index].file ? &descriptors_[index] : nullptr;
}

int ModemEfs::close_file(int descriptor) {
  Descriptor* const open = at(descriptor);
  if (!open) return -EBADF;
  const Descriptor closed = std::exchange(*open, {});
  File& file = *closed.file;
  // A file that was made for reading only is replaced by its last descriptor.
  if (file.removed || (!may_write(closed.flags) && closed.file.use_count() > 1)) return 0;
  if (file.failed != 0) return -file.failed;
  if (file.draft.empty() || replace(&file)) return 0;
  file.failed = errno;
  return not_written(file.path, file.failed);
}

int ModemEfs::read_file(int descriptor, int count, std::string* bytes) {
  Descriptor* const open = at(descriptor);
  if (count < 0) return -EINVAL;
  if (!open || (open->flags & O_ACCMODE) == O_WRONLY) return -EBADF;
  bytes->resize(static_cast<size_t>(std::min(count, kFileChunk)));
  const ssize_t got = pread(open->file->content, bytes->data(), bytes->size(), open->at);
  const int error = errno;
  bytes->resize(got < 0 ? 0 : static_cast<size_t>(got));
  open->at += static_cast<off_t>(bytes->size());
  return got < 0 ? -error : static_cast<int>(got);
}

int ModemEfs::write_file(int descriptor, int count, const char* bytes) {
  Descriptor* const open = at(descriptor);
  if (count < 0 || count > kFileChunk) return -EINVAL;
  if (!open || !may_write(open->flags)) return -EBADF;
  File& file = *open->file;
  if (file.failed != 0) return -file.failed;
  struct stat folder, draft;
  const bool drafted = !file.draft.empty() || start_draft(&file, true);
  if (!drafted || fstat(file.folder, &folder) != 0 || fstat(file.content, &draft) != 0) {
    file.failed = errno;
    return not_written(file.path, file.failed);
  }
  if (open->flags & O_APPEND) open->at = draft.st_size;
  // A folder that a person has removed has no links left.
  const ssize_t put = folder.st_nlink == 0 ? 0 : pwrite(file.content, bytes, static_cast<size_t>(count), open->at);
  if (put == count) {
    open->at += count;
    return count;
  }
  file.failed = put < 0 ? errno : folder.st_nlink == 0 ? ENOENT : ENOSPC;
  return not_written(file.path, file.failed);
}

// Makes a draft with what the file has, or an empty one; false with errno.
bool ModemEfs::start_draft(File* file, bool keep) {
  std::string content;
  if (keep && !read_rest(file->content, &content)) return false;
  const std::string draft = file->draft.empty() ? drafts_ + std::to_string(++drafted_) : file->draft;
  if (!sim::write_file(draft, content)) return false;
  file->draft = draft;
  const int fresh = open(draft.c_str(), O_RDWR | O_CLOEXEC);
  if (fresh < 0) {
    file->failed = errno;
    return false;
  }
  if (file->content != -1) close(file->content);
  file->content = fresh;
  return true;
}

// Puts the draft in the file's place; false with errno.
bool ModemEfs::replace(File* file) {
  if (syncs_ && fsync(file->content) != 0) return false;
  if (renameat(AT_FDCWD, file->draft.c_str(), file->folder, file->name.c_str()) != 0) return false;
  file->draft.clear();
  return !syncs_ || fsync(file->folder) == 0;
}

}  // namespace atd::sim
