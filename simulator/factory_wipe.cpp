#include "simulator/factory_wipe.h"

#include <android/log.h>
#include <unistd.h>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr char kService[] = "sys.tav.factory_delete";

bool wipe(const std::string& folder) {
  if (empty_folder(folder)) return true;
  __android_log_print(ANDROID_LOG_ERROR, "phone", "%s is not wiped, or not whole", folder.c_str());
  return false;
}

std::string mark_of(const std::string& root) { return root + "/sim/wiping"; }

}  // namespace

bool wipe_data(const std::string& root) {
  const bool whole = wipe(root + "/data");
  make_folders(root + "/data/property");
  return whole;
}

bool wipe_cache(const std::string& root) { return wipe(root + "/cache"); }

void wipe_phone(const std::string& root) {
  write_file(mark_of(root), "");
  wipe_data(root);
  wipe_cache(root);
  unlink(mark_of(root).c_str());
}

bool finish_wipe(const std::string& root) {
  if (access(mark_of(root).c_str(), F_OK) != 0) return false;
  wipe_phone(root);
  return true;
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

// The service ends when somebody looks whether it has.
void DeletionService::before_read(const std::string& name) {
  if (name != kService) return;
  {
    std::lock_guard guard(lock_);
    // One that the tool "setprop" has set is seen only now.
    if (!running_) start_locked();
    if (!running_ || clock_.now() < end_) return;
    running_ = false;
    if (deletes_) wipe_data(root_);
  }
  properties_.set_at_boot(kService, "0");
}

int DeletionService::after_write(const std::string& name) {
  if (name != kService) return -1;
  std::lock_guard guard(lock_);
  start_locked();
  return running_ ? delay_ms_ : -1;
}

void DeletionService::start_locked() {
  std::string value;
  read_file(root_ + "/dev/__properties__/" + kService, &value);
  running_ = value == "1" && delay_ms_ >= 0;
  end_ = clock_.now() + static_cast<uint64_t>(delay_ms_) * 1000;
}

}  // namespace atd::sim
