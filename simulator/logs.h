// The phone's log buffers: text in logcat's threadtime form, kept below "/dev/log" in files of whole lines, where a
// person reads it. A line gets there within 20 ms. Until then it is in a file of the hidden name ".NAME", with NULs
// after it, which the phone's own logcat reads, too; so it is there even when the process is killed right after. A line
// of a process that was forked is in the buffer's file at once.
#pragma once

#include <stdarg.h>
#include <stddef.h>
#include <time.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "simulator/clock.h"

namespace atd::sim {

// The letter of a priority in a log line: 'V', 'D', 'I', 'W', 'E', 'F', or '?'.
char priority_letter(int priority);

// The names of the buffers, by their numbers in the log library.
inline constexpr const char* kBufferNames[] = {"main", "radio", "events", "system", "crash"};

struct LogLine {
  int buffer;
  std::string text;  // "MM-DD hh:mm:ss.mmm  PID  TID P Tag: text"
};

class Logs {
 public:
  // Hears every line that is written for as long as it lives. One that does not take its lines misses some.
  class Follower {
   public:
    // *before, where it is given, gets the lines that every buffer has so far.
    explicit Follower(Logs& logs, std::vector<LogLine>* before = nullptr);
    ~Follower();
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    // Takes the next line; false when none comes within so many milliseconds of real time.
    bool next(LogLine* line, int wait_ms);

   private:
    friend class Logs;
    Logs& logs_;
    std::deque<LogLine> lines_;  // under the logs' lock
    std::condition_variable arrived_;
  };

  // How large a buffer's file grows, in bytes.
  static constexpr size_t kFileSize = 512 * 1024;

  // The clock is the phone's and outlives the logs.
  Logs(std::string folder, const Clock& clock);
  ~Logs();

  // Copies lines of this priority and above to standard error from now on; ANDROID_LOG_SILENT for none, the default.
  void echo(int priority) { echo_priority_ = priority; }
  int echo() const { return echo_priority_; }

  // Writes one line; the length of its text, or -1 for an unknown buffer or when the buffer's file cannot be written.
  int write(int buffer, int priority, const char* tag, const char* format, va_list arguments);

  // The lines of a buffer, oldest first; its files have them from then on.
  std::vector<std::string> lines(int buffer);

  // How many lines of a buffer carry the priority's letter, the tag and exactly this text (without a final newline).
  int count(int buffer, int priority, const std::string& tag, const std::string& text);

  // The same for the daemon's own lines: system buffer, tag "Atd".
  int count(int priority, const std::string& text);

  // Starts empty, as after a reboot.
  void clear();

 private:
  struct Buffer {
    int fd = -1;  // of the file; a full one becomes NAME.1
    size_t size = 0;
    char* fresh = nullptr;  // mapped, so that a line costs one copy and no system call
    size_t fresh_size = 0;
  };

  static void before_fork();
  static void in_parent();
  static void in_child();

  std::string file(int buffer) const;
  std::string fresh_file(int buffer) const;
  std::vector<std::string> lines_locked(int buffer);
  bool open_locked(int buffer);
  void close_locked(int buffer);
  void map_locked(int buffer);
  bool append_locked(int buffer, const char* lines, size_t size);
  bool keep_locked(int buffer, const char* line, size_t size);
  bool flush_locked(int buffer);
  void move_lines();

  static constexpr int kBuffers = 5;
  std::string folder_;
  const Clock& clock_;
  mutable std::mutex lock_;
  std::vector<Follower*> followers_;
  Buffer buffers_[kBuffers];
  std::atomic<int> echo_priority_{8};
  time_t stamp_second_ = -1;
  char stamp_[16];
  bool has_fresh_ = false;
  bool ended_ = false;
  std::condition_variable moving_;
  std::thread mover_;  // the last: it uses the others
};

}  // namespace atd::sim
