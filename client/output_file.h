// A file that a command writes at its end, opened before it begins: whoever cannot write it learns so in time.
#pragma once

#include <string>
#include <string_view>

#include "client/failure.h"

namespace atd::client {

// What was in the file stays until write(). A file that was not there has no name until then, so that nothing is left
// where a signal ends the program; where the file system cannot do that, one that was made and is not written is
// removed.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Opens the file, or makes it; "-" is standard output. Fails as file_failure() has it.
  Failure open(const std::string& file);
  bool is_open() const { return fd_ >= 0; }

  // Writes the bytes as the whole content; kNoOutput when not all of them can be written.
  Failure write(std::string_view bytes);

 private:
  std::string file_;
  int fd_ = -1;
  bool is_new_ = false;  // made by open()
  bool is_nameless_ = false;
};

}  // namespace atd::client
