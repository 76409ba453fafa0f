// The fingerprint sensor and what its factory tests find.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "platform/fingerprint.h"

namespace atd::sim {

class Fingerprint {
 public:
  explicit Fingerprint(const std::string& root);

  // The names of the tests: "spi", "zone", "checkerboard" and "rubberstamp".
  static const std::vector<std::string>& tests();

  // What is wrong with a line of "sim/fingerprint", "" when it makes sense.
  static std::string wrong(const std::string& line);

  // Switches the sensor on or off.
  void enable(bool on) { on_ = on; }
  bool is_on() const { return on_; }

  // What the test of a name finds: what "sim/fingerprint" says, or a pass with the result 0.
  FpTestResult verdict(const std::string& test) const;

  // Makes a test find this from now on; false with errno when the file cannot be written.
  bool set(const std::string& test, const FpTestResult& verdict);

 private:
  std::string file_;
  std::mutex lock_;
  std::atomic<bool> on_{false};
};

}  // namespace atd::sim
