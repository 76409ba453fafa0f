#include "simulator/logs.h"

#include <android/log.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "simulator/files.h"
#include "simulator/standard_error.h"

namespace atd::sim {

namespace {

constexpr size_t kLinesKept = 4096;  // for a follower
constexpr size_t kGrowth = 4096;     // multiples of it fill a file exactly
constexpr size_t kHeadSize = 18;     // "MM-DD hh:mm:ss.mmm"
constexpr size_t kTagSize = 64;
constexpr size_t kTextSize = 4069;  // a log entry carries at most 4068 characters
constexpr size_t kLineSize = kHeadSize + 64 + kTagSize + kTextSize;

// Touching a mapping whose file a person has emptied would end the process. Instead the mapping becomes plain memory
// until the file is looked at again, and only some lines are lost.
std::atomic<char*> g_mappings[5];

void survive_lost_file(int, siginfo_t* info, void*) {
  char* address = static_cast<char*>(info->si_addr);
  for (std::atomic<char*>& mapping : g_mappings) {
    char* start = mapping;
    if (!start || address < start || address >= start + Logs::kFileSize) continue;
    mmap(start, Logs::kFileSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    return;
  }
  signal(SIGBUS, SIG_DFL);
}

struct timespec later(const struct timespec& time, uint64_t microseconds) {
  const uint64_t nanoseconds = static_cast<uint64_t>(time.tv_nsec) + microseconds % 1000000 * 1000;
  return {time.tv_sec + static_cast<time_t>(microseconds / 1000000 + nanoseconds / 1000000000),
          static_cast<long>(nanoseconds % 1000000000)};
}

}  // namespace

char priority_letter(int priority) {
  return priority >= 0 && priority <= ANDROID_LOG_FATAL ? "??VDIWEF"[priority] : '?';
}

Logs::Logs(std::string folder, const Clock& clock) : folder_(std::move(folder)), clock_(clock) {
  struct sigaction action = {};
  action.sa_sigaction = survive_lost_file;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGBUS, &action, nullptr);
}

Logs::~Logs() {
  for (int i = 0; i < kBuffers; ++i) close_locked(i);
}

std::string Logs::file(int buffer) const { return folder_ + "/" + kBufferNames[buffer]; }

bool Logs::open_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  b.fd = open(file(buffer).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0660);
  struct stat status;
  if (b.fd < 0 || fstat(b.fd, &status) != 0) return false;
  void* text = mmap(nullptr, kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, b.fd, 0);
  if (text == MAP_FAILED) return false;
  g_mappings[buffer] = b.text = static_cast<char*>(text);
  b.size = std::min(static_cast<size_t>(status.st_size), kFileSize);
  // A killed process leaves its unused empty lines at the end.
  for (b.used = b.size; b.used > 1 && b.text[b.used - 1] == '\n' && b.text[b.used - 2] == '\n';) --b.used;
  return true;
}

void Logs::close_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  g_mappings[buffer] = nullptr;
  if (b.text) munmap(b.text, kFileSize);
  if (b.fd >= 0) {
    if (ftruncate(b.fd, static_cast<off_t>(b.used)) != 0) b.used = 0;
    close(b.fd);
  }
  b = {};
}

// Makes room for `size` more bytes; false when it cannot.
bool Logs::reserve_locked(int buffer, size_t size) {
  Buffer& b = buffers_[buffer];
  // Once a second: a person may have emptied or removed the file.
  struct stat status;
  if (b.fd >= 0 && b.checked != stamp_second_ &&
      (fstat(b.fd, &status) != 0 || status.st_nlink == 0 || status.st_size < static_cast<off_t>(b.size))) {
    b.used = 0;
    close_locked(buffer);
  }
  b.checked = stamp_second_;
  if (b.fd < 0 && !open_locked(buffer)) {
    close_locked(buffer);
    return false;
  }
  if (b.used + size > kFileSize) {
    close_locked(buffer);
    if (rename(file(buffer).c_str(), (file(buffer) + ".1").c_str()) != 0) unlink(file(buffer).c_str());
    if (!open_locked(buffer) || b.used + size > kFileSize) {
      close_locked(buffer);
      return false;
    }
  }
  while (b.used + size > b.size) {
    // Empty lines ahead of the text: the disk has the room from here on, and the file is a text at any moment.
    static const std::string empty(kGrowth, '\n');
    if (pwrite(b.fd, empty.data(), empty.size(), static_cast<off_t>(b.size)) != static_cast<ssize_t>(empty.size())) {
      if (ftruncate(b.fd, static_cast<off_t>(b.size)) != 0) close_locked(buffer);
      return false;
    }
    b.size += empty.size();
  }
  return true;
}

int Logs::write(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
  if (buffer < 0 || buffer >= kBuffers) return -1;
  // The ids in a line's head stay the same on a thread, so they are formatted once.
  thread_local const std::string process = [] {
    char ids[32];
    snprintf(ids, sizeof ids, " %5d %5d ", getpid(), gettid());
    return std::string(ids);
  }();
  char line[kLineSize];
  char* out = line + kHeadSize;
  memcpy(out, process.data(), process.size());
  out += process.size();
  *out++ = priority_letter(priority);
  *out++ = ' ';
  out = stpncpy(out, tag ? tag : "", kTagSize);
  *out++ = ':';
  *out++ = ' ';
  char* const text = out;
  int length = vsnprintf(text, kTextSize, format, arguments);
  out += std::clamp<int>(length, 0, kTextSize - 1);
  while (out > text && out[-1] == '\n') --out;
  // One entry stays one line, and no text can control a terminal.
  for (char* at = text; at < out; ++at) {
    if (static_cast<unsigned char>(*at) < ' ' || *at == 127) *at = ' ';
  }
  *out++ = '\n';

  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  now = later(now, clock_.ahead());
  std::lock_guard guard(lock_);
  if (now.tv_sec != stamp_second_) {
    struct tm local;
    localtime_r(&now.tv_sec, &local);
    strftime(stamp_, sizeof stamp_, "%m-%d %H:%M:%S.", &local);
    stamp_second_ = now.tv_sec;
  }
  memcpy(line, stamp_, kHeadSize - 3);
  unsigned milliseconds = static_cast<unsigned>(now.tv_nsec / 1000000);
  line[kHeadSize - 3] = static_cast<char>('0' + milliseconds / 100);
  line[kHeadSize - 2] = static_cast<char>('0' + milliseconds / 10 % 10);
  line[kHeadSize - 1] = static_cast<char>('0' + milliseconds % 10);

  size_t size = static_cast<size_t>(out - line);
  if (priority >= echo_priority_) show({line, size});
  for (Follower* follower : followers_) {
    if (follower->lines_.size() == kLinesKept) follower->lines_.pop_front();
    follower->lines_.push_back({buffer, std::string(line, size - 1)});
    follower->arrived_.notify_one();
  }
  if (!reserve_locked(buffer, size)) return -1;
  Buffer& b = buffers_[buffer];
  memcpy(b.text + b.used, line, size);
  b.used += size;
  return length;
}

std::vector<std::string> Logs::lines(int buffer) const {
  std::lock_guard guard(lock_);
  return lines_locked(buffer);
}

std::vector<std::string> Logs::lines_locked(int buffer) const {
  std::vector<std::string> result;
  for (const std::string& name : {file(buffer) + ".1", file(buffer)}) {
    std::string text;
    if (!read_file(name, &text)) continue;
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      if (end > start) result.push_back(text.substr(start, end - start));
    }
  }
  return result;
}

int Logs::count(int buffer, int priority, const std::string& tag, const std::string& text) const {
  std::string wanted = text;
  while (!wanted.empty() && wanted.back() == '\n') wanted.pop_back();
  std::replace(wanted.begin(), wanted.end(), '\n', ' ');
  wanted = std::string(1, priority_letter(priority)) + " " + tag + ": " + wanted;
  auto all = lines(buffer);
  return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const std::string& line) {
    return line.size() > wanted.size() && line.ends_with(wanted) && line[line.size() - wanted.size() - 1] == ' ';
  }));
}

int Logs::count(int priority, const std::string& text) const { return count(LOG_ID_SYSTEM, priority, "Atd", text); }

Logs::Follower::Follower(Logs& logs, std::vector<LogLine>* before) : logs_(logs) {
  std::lock_guard guard(logs_.lock_);
  for (int buffer = 0; before && buffer < kBuffers; ++buffer) {
    for (std::string& line : logs_.lines_locked(buffer)) before->push_back({buffer, std::move(line)});
  }
  logs_.followers_.push_back(this);
}

Logs::Follower::~Follower() {
  std::lock_guard guard(logs_.lock_);
  std::erase(logs_.followers_, this);
}

bool Logs::Follower::next(LogLine* line, int wait_ms) {
  std::unique_lock guard(logs_.lock_);
  if (!arrived_.wait_for(guard, std::chrono::milliseconds(wait_ms), [&] { return !lines_.empty(); })) return false;
  *line = std::move(lines_.front());
  lines_.pop_front();
  return true;
}

void Logs::clear() {
  std::lock_guard guard(lock_);
  for (int i = 0; i < kBuffers; ++i) {
    close_locked(i);
    unlink(file(i).c_str());
    unlink((file(i) + ".1").c_str());
  }
}

}  // namespace atd::sim
