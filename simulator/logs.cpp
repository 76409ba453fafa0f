#include "simulator/logs.h"

#include <android/log.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "simulator/files.h"
#include "simulator/simulated_device.h"

namespace atd::sim {

namespace {

constexpr const char* kNames[] = {"main", "radio", "events", "system", "crash"};
constexpr size_t kHeadSize = 18;    // "MM-DD hh:mm:ss.mmm"
constexpr size_t kTagSize = 64;
constexpr size_t kTextSize = 4069;  // a log entry carries at most 4068 characters
constexpr size_t kLineSize = kHeadSize + 64 + kTagSize + kTextSize;

}  // namespace

char priority_letter(int priority) {
  return priority >= 0 && priority <= ANDROID_LOG_FATAL ? "??VDIWEF"[priority] : '?';
}

Logs::~Logs() {
  for (int i = 0; i < kBuffers; ++i) close_locked(i);
}

std::string Logs::file(int buffer) const { return folder_ + "/" + kNames[buffer]; }

bool Logs::open_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  if (b.text) return true;
  int fd = open(file(buffer).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0660);
  if (fd < 0) return false;
  void* text = MAP_FAILED;
  if (ftruncate(fd, kFileSize) == 0) {
    text = mmap(nullptr, kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  }
  close(fd);
  if (text == MAP_FAILED) return false;
  b.text = static_cast<char*>(text);
  b.used = strnlen(b.text, kFileSize);
  return true;
}

void Logs::close_locked(int buffer) {
  Buffer& b = buffers_[buffer];
  if (!b.text) return;
  munmap(b.text, kFileSize);
  b.text = nullptr;
  if (truncate(file(buffer).c_str(), static_cast<off_t>(b.used)) != 0) return;
}

int Logs::write(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
  if (buffer < 0 || buffer >= kBuffers) return -1;
  // Everything but the second's part of a line's head changes so seldom that it is worth keeping.
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
  // One entry stays one line in the file, whatever text it carries.
  for (char* at = text; (at = static_cast<char*>(memchr(at, '\n', static_cast<size_t>(out - at))));) *at = ' ';
  *out++ = '\n';

  struct timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
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
  if (priority >= echo_priority_) {
    ssize_t ignored = ::write(STDERR_FILENO, line, size);
    (void)ignored;
  }
  Buffer& b = buffers_[buffer];
  if (b.text && b.used + size >= kFileSize) {
    close_locked(buffer);
    if (rename(file(buffer).c_str(), (file(buffer) + ".1").c_str()) != 0) return -1;
  }
  if (!open_locked(buffer)) return -1;
  memcpy(b.text + b.used, line, size);
  b.used += size;
  return length;
}

std::vector<std::string> Logs::lines(int buffer) const {
  std::lock_guard guard(lock_);
  std::vector<std::string> result;
  for (const std::string& name : {file(buffer) + ".1", file(buffer)}) {
    std::string text;
    if (!read_file(name, &text)) continue;
    text.resize(strnlen(text.data(), text.size()));
    for (size_t start = 0, end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      result.push_back(text.substr(start, end - start));
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

void Logs::clear() {
  std::lock_guard guard(lock_);
  for (int i = 0; i < kBuffers; ++i) {
    close_locked(i);
    unlink(file(i).c_str());
    unlink((file(i) + ".1").c_str());
  }
}

}  // namespace atd::sim

using atd::sim::SimulatedDevice;

int __android_log_print(int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int result = SimulatedDevice::current().logs.write(LOG_ID_MAIN, priority, tag, format, arguments);
  va_end(arguments);
  return result;
}

int __android_log_buf_print(int buffer, int priority, const char* tag, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  int result = SimulatedDevice::current().logs.write(buffer, priority, tag, format, arguments);
  va_end(arguments);
  return result;
}
