// The phone's storage chip behind the generic SCSI device "/dev/sg3": it says who it is.
#pragma once

#include <mutex>
#include <string>

namespace atd::sim {

// What the chip says. A text is cut or filled with spaces: vendor 8 bytes, product 16, revision 4.
struct ScsiAnswer {
  std::string vendor = "ATDSIM";
  std::string product = "SIMULATED UFS";
  std::string revision = "0100";
  unsigned size = 36;  // bytes that it gives; fewer are a short answer
  bool fails = false;  // every command ends with a check condition
};

class Scsi {
 public:
  explicit Scsi(const std::string& root) : root_(root) {}

  void set(const ScsiAnswer& answer);

  // Answers a device-control request: false when the descriptor is not the device's, else *result is what the driver
  // returns, with errno when that is -1. The one command is a standard INQUIRY by SG_IO; any other ends with a check
  // condition.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

 private:
  std::string root_;
  std::mutex lock_;
  ScsiAnswer answer_;
};

}  // namespace atd::sim
