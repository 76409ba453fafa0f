// What the phone's sensors read: the nodes of the battery, the charger, the converter and the thermal zones, ordinary
// files that a person may edit as well. One reading may stand in several nodes; a change here changes all of them.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace atd::sim {

class Readings {
 public:
  explicit Readings(const std::string& root) : root_(root) {}

  // Makes the nodes that the functions below write, as a new phone has them; false with errno.
  bool make();

  bool has(const std::string& node) const;

  // What a node's text says, without its line end; "" when it cannot be read.
  std::string text(const std::string& node) const;

  // The number that a node's text begins with, the one of "Result:" for a node of the converter; none where it begins
  // with none.
  std::optional<long long> number(const std::string& node) const;

  // The battery's voltage, whatever unit its node has.
  std::optional<long long> millivolts() const;

  // These change a reading and return false with errno when a node cannot be written.
  bool set_temperature(int tenths);
  bool set_voltage(int millivolts);
  bool set_level(int percent);
  bool set_charging(bool on, bool complete);
  bool set_zone(int zone, int tenths);

  // The cables by name: "none", "usb", "56k", "130k" and "910k".
  static std::vector<std::string> cables();
  bool set_cable(const std::string& name);

  // The cable that the nodes show, "?" where it is none of those.
  std::string cable() const;

  // The fuel gauges by name, "none" the last.
  static std::vector<std::string> gauges();
  bool set_gauge(const std::string& name);

  // True, with a line in the main log, for a text that resets the fuel gauge: its node does not show what it was told.
  bool resets(const std::string& node, const std::string& text) const;

  // The fuel gauge that the phone has.
  std::string gauge() const;

 private:
  bool write(const std::string& node, const std::string& text);
  bool write_gauge();
  bool write_currents();
  std::string root_;
};

}  // namespace atd::sim
