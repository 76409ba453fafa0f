// The phone's block devices, which are files below "/dev/block/bootdevice/by-name".
#pragma once

#include <atomic>
#include <string>

namespace atd::sim {

class Partitions {
 public:
  explicit Partitions(const std::string& root) : root_(root) {}

  // Interrupts the next `times` requests (EINTR).
  void interrupt(int times) { interrupts_ = times; }

  // Carries out a discard; false for another request. The discarded bytes of a file below the phone's root become
  // zeros; *result is 0, or -1 with errno, EPERM for any other file. Discarding the whole cache partition
  // also empties "/cache", EIO where that fails.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

 private:
  bool discard(int fd, unsigned long long start, unsigned long long length) const;

  const std::string root_;
  std::atomic<int> interrupts_{0};
};

}  // namespace atd::sim
