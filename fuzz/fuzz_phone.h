// The phone behind a fuzz target: made once, with a virtual clock and nothing that can leave it.
#pragma once

#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "simulator/simulated_device.h"

namespace atd {

class FuzzPhone {
 public:
  FuzzPhone() {
    char folder[] = "/tmp/atd-fuzz-XXXXXX";
    root_ = mkdtemp(folder);
    std::string error;
    device_ = sim::SimulatedDevice::open(root_, &error);
    if (!device_) {
      fprintf(stderr, "%s\n", error.c_str());
      abort();
    }
    device_->clock.make_virtual();
  }
  ~FuzzPhone() {
    device_.reset();
    std::filesystem::remove_all(root_);
  }

 private:
  std::string root_;
  std::unique_ptr<sim::SimulatedDevice> device_;
};

}  // namespace atd
