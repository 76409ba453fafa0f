#include "simulator/factory_wipe.h"

#include <android/log.h>
#include <time.h>

#include <filesystem>

#include "simulator/files.h"

namespace atd::sim {

namespace fs = std::filesystem;

namespace {

constexpr char kService[] = "sys.tav.factory_delete";

// False, which is logged, for what is no folder, or a link to one.
bool is_own_folder(const std::string& path) {
  std::error_code ignored;
  const fs::file_type type = fs::symlink_status(path, ignored).type();
  if (type != fs::file_type::directory && type != fs::file_type::not_found) {
    __android_log_print(ANDROID_LOG_ERROR, "phone", "%s is not wiped: it is no folder", path.c_str());
  }
  return type == fs::file_type::directory;
}

}  // namespace

void wipe_data(const std::string& root) {
  const std::string data = root + "/data", properties = data + "/property";
  if (!is_own_folder(data)) return;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(data, error)) {
    if (entry.path() == properties && is_own_folder(properties)) empty_folder(properties);
    else fs::remove_all(entry.path(), error);
  }
}

void wipe_cache(const std::string& root) {
  if (is_own_folder(root + "/cache")) empty_folder(root + "/cache");
}

void DeletionService::boot() {
  std::lock_guard guard(lock_);
  running_ = false;
}

void DeletionService::set_delay(int milliseconds) {
  std::lock_guard guard(lock_);
  delay_ms_ = milliseconds;
}

void DeletionService::set_deletes(bool deletes) {
  std::lock_guard guard(lock_);
  deletes_ = deletes;
}

int DeletionService::delay() const {
  std::lock_guard guard(lock_);
  return delay_ms_;
}

bool DeletionService::deletes() const {
  std::lock_guard guard(lock_);
  return deletes_;
}

uint64_t DeletionService::now() {
  struct timespec now = {};
  clock_.get(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000 + static_cast<uint64_t>(now.tv_nsec) / 1000;
}

// The service ends when somebody looks whether it has.
void DeletionService::before_read(const std::string& name) {
  if (name != kService) return;
  {
    std::lock_guard guard(lock_);
    if (!running_ || now() < end_) return;
    running_ = false;
    if (deletes_) wipe_data(root_);
  }
  properties_.set_at_boot(kService, "0");
}

void DeletionService::after_write(const std::string& name) {
  if (name != kService) return;
  std::string value;
  read_file(root_ + "/dev/__properties__/" + kService, &value);
  std::lock_guard guard(lock_);
  running_ = value == "1" && delay_ms_ >= 0;
  end_ = now() + static_cast<uint64_t>(delay_ms_) * 1000;
}

}  // namespace atd::sim
