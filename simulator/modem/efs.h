// The modem's file system: ordinary files below "sim/efs" in the phone's folder, reached through opcode 401.
#pragma once

#include <array>
#include <string>

namespace atd::sim {

class ModemEfs {
 public:
  explicit ModemEfs(const std::string& root);
  ~ModemEfs();
  ModemEfs(const ModemEfs&) = delete;
  ModemEfs& operator=(const ModemEfs&) = delete;

  // Carries one request out: its first byte is the sub-command. The answer is a 32-bit result word (a descriptor, a
  // count of bytes, 0, or a negative error number) and, for a read, the bytes.
  std::string answer(const std::string& request);

  // Takes every descriptor back.
  void close_all();

 private:
  int open_file(const std::string& path, int flags, int mode);
  int unlink_file(const std::string& path);
  int close_file(int descriptor);
  int read_file(int descriptor, int count, std::string* bytes);
  int write_file(int descriptor, int count, const char* bytes);
  int native(int descriptor) const;

  std::string folder_;
  std::array<int, 32> files_;  // the desktop's descriptor, or -1
};

}  // namespace atd::sim
