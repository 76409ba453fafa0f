// A simulated phone in memory, for a benchmark.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "simulator/simulated_device.h"

class MemoryPhone {
 public:
  MemoryPhone() : root_("/dev/shm/atd-bench-XXXXXX") {
    std::string error;
    if (!mkdtemp(root_.data()) || !(device_ = atd::sim::SimulatedDevice::open(root_, &error))) abort();
  }
  ~MemoryPhone() {
    device_.reset();
    std::filesystem::remove_all(root_);
  }
  MemoryPhone(const MemoryPhone&) = delete;
  MemoryPhone& operator=(const MemoryPhone&) = delete;

  // Where a path of the phone is.
  std::string at(const std::string& path) const { return root_ + path; }

 protected:
  std::string root_;
  std::unique_ptr<atd::sim::SimulatedDevice> device_;
};
