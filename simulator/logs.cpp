#include "simulator/logs.h"

#include <android/log.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "simulator/files.h"
#include "simulator/standard_error.h"

namespace atd::sim {

namespace {

constexpr size_t kLinesKept = 4096;  // for a follower
constexpr size_t kHeadSize = 18;     // "MM-DD hh:mm:ss.mmm"
constexpr size_t kTagSize = 64;
constexpr size_t kTextSize = 4069;  // a log entry carries at most 4068 characters
constexpr size_t kLineSize = kHeadSize + 64 + kTagSize + kTextSize;
constexpr size_t kFreshSize = 64 * 1024;
constexpr std::chrono::milliseconds kDelay(20);
constexpr int kNewFile = O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

struct timespec later(const struct timespec& time, uint64_t microseconds) {
  const uint64_t nanoseconds = static_cast<uint64_t>(time.tv_nsec) + microseconds % 1000000 * 1000;
  return {time.tv_sec + static_cast<time_t>(microseconds / 1000000 + nanoseconds / 1000000000),
          static_cast<long>(nanoseconds % 1000000000)};
}

std::atomic<Logs*> g_logs;               // of the phone that is open
thread_local Logs* g_at_fork = nullptr;  // those whose lock this thread holds for a fork
bool g_is_forked = false;                // in a child of the phone's process; its threads are not here

// A process and a thread, as they stand in a line's head.
std::string ids() {
  char text[32];
  snprintf(text, sizeof text, " %5d %5d ", getpid(), gettid());
  return text;
}

// Appends a line to a file that nothing keeps open.
bool append_once(const std::string& file, const char* line, size_t size) {
  const int fd = open(file.c_str(), O_WRONLY | O_APPEND | kNewFile, 0660);
  if (fd < 0) return false;
  const bool whole = ::write(fd, line, size) == static_cast<ssize_t>(size);
  close(fd);
  return whole;
}

}  // namespace

char priority_letter(int priority) {
  return priority >= 0 && priority <= ANDROID_LOG_FATAL ? "??VDIWEF"[priority] : '?';
}

Logs::Logs(std::string folder, const Clock& clock)
    : folder_(std::move(folder)), clock_(clock), mover_([this] { move_lines(); }) {
  g_logs = this;
  [[maybe_unused]] static const int added = pthread_atfork(before_fork, in_parent, in_child);
}

// A child has the locks as they were at the fork, and comes after the lines that were written before.
void Logs::before_fork() {
  Logs* const logs = g_logs;
  if (!logs) return;
  logs->lock_.lock();
  for (int i = 0; i < kBuffers; ++i) logs->flush_locked(i);
  g_at_fork = logs;
}

void Logs::in_parent() {
  if (Logs* const logs = std::exchange(g_at_fork, nullptr)) logs->lock_.unlock();
}

void Logs::in_child() {
  in_parent();
  g_is_forked = true;
}

Logs::~Logs() {
  g_logs = nullptr;
  {
    std::lock_guard guard(lock_);
    ended_ = true;
  }
  moving_.notify_all();
  mover_.join();
  for (int i = 0; i < kBuffers; ++i) {
    flush_locked(i);
    if (buffers_[i].fresh) munmap(buffers_[i].fresh, kFreshSize);
    unlink(fresh_file(i).c_str());
    close_locked(i);
  }
}

std::string Logs::file(int buffer) const { return folder_ + "/" + kBufferNames[buffer]; }
std::string Logs::fresh_file(int buffer) const { return folder_ + "/." + kBufferNames[buffer]; }

// Appends a line to a file that another process writes, too.
bool Logs::open_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  b.fd = open(file(buffer).c_str(), O_WRONLY | O_APPEND | kNewFile, 0660);
  struct stat status;
  if (b.fd >= 0 && fstat(b.fd, &status) == 0 && S_ISREG(status.st_mode)) {
    b.size = static_cast<size_t>(status.st_size);
    return true;
  }
  close_locked(buffer);
  return false;
}

void Logs::close_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  if (b.fd >= 0) close(b.fd);
  b.fd = -1;
}

// Maps the file of the fresh lines. Where that fails, each line is written at once.
void Logs::map_locked(int buffer) {
  unlink(fresh_file(buffer).c_str());
  const int fd = open(fresh_file(buffer).c_str(), O_RDWR | O_EXCL | kNewFile, 0660);
  // The disk has the room from here on.
  if (fd >= 0 && posix_fallocate(fd, 0, kFreshSize) == 0) {
    void* fresh = mmap(nullptr, kFreshSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (fresh != MAP_FAILED) buffers_[buffer].fresh = static_cast<char*>(fresh);
  }
  if (fd >= 0) close(fd);
}

// Appends whole lines to the buffer's file, and first makes a full file NAME.1; false when it cannot.
bool Logs::append_locked(int buffer, const char* lines, size_t size) {
  Buffer& b = buffers_[buffer];
  struct stat status;
  // A person may have emptied or removed the file.
  if (b.fd >= 0 && (fstat(b.fd, &status) != 0 || status.st_nlink == 0)) close_locked(buffer);
  else if (b.fd >= 0) b.size = static_cast<size_t>(status.st_size);
  if (b.fd < 0 && !open_locked(buffer)) return false;
  if (b.size + size > kFileSize) {
    close_locked(buffer);
    if (rename(file(buffer).c_str(), (file(buffer) + ".1").c_str()) != 0) unlink(file(buffer).c_str());
    if (!open_locked(buffer)) return false;
  }
  const ssize_t put = ::write(b.fd, lines, size);
  if (put == static_cast<ssize_t>(size)) return true;
  // The disk is full. The file keeps whole lines.
  if (put > 0 && ftruncate(b.fd, static_cast<off_t>(b.size)) != 0) close_locked(buffer);
  return false;
}

// Moves the fresh lines to the buffer's file; false when they stay where they are.
bool Logs::flush_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  if (b.fresh_size == 0) return true;
  if (!append_locked(buffer, b.fresh, b.fresh_size)) return false;
  memset(b.fresh, 0, b.fresh_size);
  b.fresh_size = 0;
  return true;
}

// Keeps a line; false when it cannot.
bool Logs::keep_locked(int buffer, const char* line, size_t size) {
  Buffer& b = buffers_[buffer];
  if (b.fresh_size + size > kFreshSize && !flush_locked(buffer)) return false;
  if (b.fd < 0 && !open_locked(buffer)) return false;
  if (!b.fresh) map_locked(buffer);
  if (!b.fresh) return append_locked(buffer, line, size);
  memcpy(b.fresh + b.fresh_size, line, size);
  b.fresh_size += size;
  if (!has_fresh_) moving_.notify_one();
  has_fresh_ = true;
  return true;
}

void Logs::move_lines() {
  std::unique_lock guard(lock_);
  while (!ended_) {
    moving_.wait(guard, [this] { return has_fresh_ || ended_; });
    moving_.wait_for(guard, kDelay, [this] { return ended_; });
    has_fresh_ = false;
    for (int i = 0; i < kBuffers; ++i) flush_locked(i);
  }
}

int Logs::write(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
  if (buffer < 0 || buffer >= kBuffers) return -1;
  // The ids in a line's head stay the same on a thread, so they are formatted once.
  thread_local std::string process = ids();
  if (g_is_forked) process = ids();
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
  if (g_is_forked) return append_once(file(buffer), line, size) ? length : -1;
  if (priority >= echo_priority_) show({line, size});
  for (Follower* follower : followers_) {
    if (follower->lines_.size() == kLinesKept) follower->lines_.pop_front();
    follower->lines_.push_back({buffer, std::string(line, size - 1)});
    follower->arrived_.notify_one();
  }
  return keep_locked(buffer, line, size) ? length : -1;
}

std::vector<std::string> Logs::lines(int buffer) {
  std::lock_guard guard(lock_);
  return lines_locked(buffer);
}

std::vector<std::string> Logs::lines_locked(int buffer) {
  flush_locked(buffer);
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

int Logs::count(int buffer, int priority, const std::string& tag, const std::string& text) {
  std::string wanted = text;
  while (!wanted.empty() && wanted.back() == '\n') wanted.pop_back();
  std::replace(wanted.begin(), wanted.end(), '\n', ' ');
  wanted = std::string(1, priority_letter(priority)) + " " + tag + ": " + wanted;
  auto all = lines(buffer);
  return static_cast<int>(std::count_if(all.begin(), all.end(), [&](const std::string& line) {
    return line.size() > wanted.size() && line.ends_with(wanted) && line[line.size() - wanted.size() - 1] == ' ';
  }));
}

int Logs::count(int priority, const std::string& text) { return count(LOG_ID_SYSTEM, priority, "Atd", text); }

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
    flush_locked(i);
    close_locked(i);
    if (!buffers_[i].fresh) unlink(fresh_file(i).c_str());  // of a process that was killed
    unlink(file(i).c_str());
    unlink((file(i) + ".1").c_str());
  }
}

}  // namespace atd::sim
