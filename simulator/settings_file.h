// A text file that a person edits while the phone runs. A line that begins with "#" is a comment.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <vector>

namespace atd::sim {

struct SettingsLine {
  int number;  // 1 is the file's first line
  std::string text;
};

class SettingsFile {
 public:
  // `name` is the place below the root ("sim/modem.conf"), where the text `standard` is put if there is no such file;
  // the name and the tag outlive the object.
  SettingsFile(const std::string& root, const char* name, const char* tag, const std::string& standard);

  // True when the file is not as it was the last time. Then *lines is what it says now, without comments, empty lines,
  // and spaces around a line; a missing file says nothing.
  bool changed(std::vector<SettingsLine>* lines);

  // Makes the next `changed` true.
  void forget() { seen_ = {}; }

  // Logs what is wrong with a line as an error of the main buffer.
  void report(int line, const std::string& what) const;

 private:
  // What tells one content from another without reading it. An editor that replaces the file changes the number.
  struct Version {
    bool known = false;
    ino_t number = 0;
    off_t size = 0;
    int64_t seconds = 0;
    int64_t nanoseconds = 0;
    bool operator==(const Version&) const = default;
  };

  std::string path_;
  const char* name_;
  const char* tag_;
  Version seen_;
};

}  // namespace atd::sim
