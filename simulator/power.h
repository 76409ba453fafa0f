// Reboot and power-off. Each is recorded as a line of "sim/power" in the phone's folder and, where it is allowed,
// carried out by whoever runs the phone. Other ends of its run are recorded there as well.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace atd::sim {

class Power {
 public:
  explicit Power(const std::string& root) : file_(root + "/sim/power") {}

  // Lets reboot and power-off through: `ended` is called for each, on the caller's thread, with "reboot", "power-off"
  // or "reboot REASON" ("reboot dload" is download mode). Without it they are recorded and refused.
  void allow(std::function<void(const std::string& what)> ended) { ended_ = std::move(ended); }

  // Refuses everything from now on without recording it: the phone is being put away.
  void shut();

  // Records the request and carries it out; false when it was refused.
  bool request(const std::string& what);

  // Records what ended the phone's run by itself: "stop", "killed".
  void note(const std::string& what);

  // The last 100 lines since the phone was made, oldest first, with "refused " before what was refused.
  std::vector<std::string> history() const;

 private:
  void record_locked(const std::string& line);
  std::vector<std::string> last_locked(size_t count) const;

  std::string file_;
  mutable std::mutex lock_;
  std::function<void(const std::string&)> ended_;
  bool shut_ = false;
};

}  // namespace atd::sim
