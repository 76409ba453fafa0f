#include "simulator/standard_error.h"

#include <errno.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

namespace atd::sim {

namespace {

constexpr size_t kWaitingMax = 1024 * 1024;
constexpr std::chrono::milliseconds kEndWait(250);

struct State {
  std::mutex lock;
  std::condition_variable changed;
  std::string waiting;           // lines that the thread has not taken yet
  int left_out = 0;              // how many would have come after them
  bool runs = false;             // the thread
  bool busy = false;             // writing what it has taken
  std::atomic<int> unknown = 0;  // lines that the reader knows nothing of: not written, and not counted in a message
};

// It stays when the process ends: the thread may still be in a write.
State& state() {
  static State* const only = new State;
  return *only;
}

int lines_of(std::string_view text) { return static_cast<int>(std::count(text.begin(), text.end(), '\n')); }

// The longest run of whole lines that a pipe takes at once, so that other writers do not tear one; at least one line.
std::string_view next_lines(std::string_view text) {
  size_t end = text.substr(0, PIPE_BUF).rfind('\n');
  if (end == text.npos) end = text.find('\n');
  return text.substr(0, end + 1);
}

// Waits for a reader as long as it takes; false when the text cannot be written.
bool write_all(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EAGAIN) {
      // Someone who shares the descriptor has made it so.
      struct pollfd writable = {STDERR_FILENO, POLLOUT, 0};
      poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

// The thread.
void write_lines() {
  // No signal is for this thread; with SIGTTOU blocked, a terminal does not stop the process for what it writes.
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
  State& s = state();
  int not_shown = 0;
  auto write_or_count = [&](std::string_view text) {
    if (not_shown > 0) {
      const char* const lines = not_shown == 1 ? " line" : " lines";
      if (write_all("atd: " + std::to_string(not_shown) + lines + " not shown\n")) {
        s.unknown -= std::exchange(not_shown, 0);
      }
    }
    if (not_shown == 0 && write_all(text)) s.unknown -= lines_of(text);
    else not_shown += lines_of(text);
  };
  std::unique_lock guard(s.lock);
  for (;;) {
    s.changed.wait(guard, [&] { return !s.waiting.empty() || s.left_out > 0; });
    s.busy = true;
    const std::string taken = std::exchange(s.waiting, {});
    const int left_out = std::exchange(s.left_out, 0);
    guard.unlock();
    for (std::string_view left = taken; !left.empty();) {
      const std::string_view lines = next_lines(left);
      write_or_count(lines);
      left.remove_prefix(lines.size());
    }
    not_shown += left_out;
    write_or_count("");
    guard.lock();
    s.busy = false;
    s.changed.notify_all();
  }
}

// Under the lock; false when there is no thread.
bool starts(State& s) try {
  if (s.runs) return true;
  std::thread(write_lines).detach();
  atexit([] { await_shown(); });
  return s.runs = true;
} catch (const std::system_error&) {
  return false;
}

}  // namespace

void show(std::string_view line) {
  State& s = state();
  std::lock_guard guard(s.lock);
  ++s.unknown;
  // No line overtakes one that is left out.
  if (!starts(s) || s.left_out > 0 || s.waiting.size() + line.size() > kWaitingMax) ++s.left_out;
  else s.waiting += line;
  s.changed.notify_all();
}

int await_shown() {
  State& s = state();
  std::unique_lock guard(s.lock);
  s.changed.wait_for(guard, kEndWait, [&] { return !s.busy && s.waiting.empty() && s.left_out == 0; });
  return s.unknown;
}

void add_not_shown(int lines) {
  if (lines <= 0) return;
  State& s = state();
  std::lock_guard guard(s.lock);
  s.unknown += lines;
  s.left_out += lines;
  starts(s);
  s.changed.notify_all();
}

}  // namespace atd::sim
