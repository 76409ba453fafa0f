// The modem's file system: ordinary files below "sim/efs" in the phone's folder, reached through opcode 401.
//
// What is written to an open file goes to a draft below "sim/efs-open". The draft replaces the file when a descriptor
// that may write is closed, so the file has its old or its new content, never a part. All descriptors of a file share
// the draft. One that is not closed before the modem restarts, or that could not take a write, is dropped.
#pragma once

#include <sys/types.h>

#include <array>
#include <atomic>
#include <memory>
#include <string>

namespace atd::sim {

class ModemEfs {
 public:
  // `syncs` is the phone's switch and outlives the file system.
  ModemEfs(const std::string& root, const std::atomic<bool>& syncs);

  // Carries one request out: its first byte is the sub-command. The answer is a 32-bit result word (a descriptor, a
  // count of bytes, 0, or a negative error number) and, for a read, the bytes. A close that answers 0 has its file on
  // the medium, an unlink has it gone from there. What the desktop cannot write is also logged to the main buffer.
  std::string answer(const std::string& request);

  // Takes every descriptor back and drops what was not closed.
  void close_all();

 private:
  struct File;
  struct Descriptor {
    std::shared_ptr<File> file;  // null when it is free
    int flags = 0;
    off_t at = 0;
  };

  int open_file(const std::string& path, int flags);
  int unlink_file(const std::string& path);
  int close_file(int descriptor);
  int read_file(int descriptor, int count, std::string* bytes);
  int write_file(int descriptor, int count, const char* bytes);
  int open_parent(File* file, const std::string& path, bool create);
  std::shared_ptr<File> opened(const std::string& path) const;
  Descriptor* at(int descriptor);
  bool start_draft(File* file, bool keep);
  bool replace(File* file);

  std::string folder_;
  std::string drafts_;
  const std::atomic<bool>& syncs_;
  int drafted_ = 0;
  std::array<Descriptor, 32> descriptors_;
};

}  // namespace atd::sim
