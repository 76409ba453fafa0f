// The phone's display: the framebuffer "/dev/graphics/fb0", and the program screencap. It shows a test card, drawn when
// somebody looks, or what a person or a program has written into the framebuffer since the boot. An empty file brings
// the test card back.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "simulator/clock.h"
#include "simulator/display/image.h"
#include "simulator/property_store.h"
#include "simulator/readings.h"

namespace atd::sim {

struct DisplaySettings {
  int width = 1080;  // in pixels, 1 to 8192
  int height = 1920;
  int depth = 32;   // bits of a pixel in the framebuffer: 16 or 32
  int format = 32;  // bits of a pixel in a raw image of screencap: 16, 24 or 32
};

class Display {
 public:
  // The parts whose state the test card shows outlive the display.
  Display(const std::string& root, Clock& clock, const Properties& properties, const Readings& readings)
      : root_(root), clock_(clock), properties_(properties), readings_(readings) {}

  // Empties the framebuffer.
  void boot();

  // What "sim/display" says, and what a new phone has where it says nothing.
  DisplaySettings settings() const;

  // What is wrong with a line of "sim/display", "" when it makes sense.
  static std::string wrong(const std::string& line);

  // Changes one setting: "size" 1080x1920, "depth" 16, "format" 24. False with a sentence in *error.
  bool set(const std::string& name, const std::string& value, std::string* error);

  // Answers a device-control request: false when the descriptor is not the framebuffer's, or the request is none of a
  // framebuffer's information. Draws the test card into the framebuffer where nobody else has written into it.
  bool ioctl(int fd, unsigned long request, void* argument, int* result);

  // What the display shows.
  Image picture() const;

  // The same as a raw image of screencap.
  std::string raw() const;

  // Does what the program screencap does with its arguments, whose paths are those of the desktop: its exit status.
  // `output` is its standard output, or -1.
  int screencap(const std::vector<std::string>& arguments, int output) const;

 private:
  // What tells whether somebody has written into the framebuffer.
  struct Version {
    int64_t seconds = 0;
    int64_t nanoseconds = 0;
    off_t size = 0;
    bool operator==(const Version&) const = default;
  };

  std::string framebuffer() const;
  bool is_own() const;
  std::vector<std::string> lines() const;
  bool draw(const DisplaySettings& now);

  std::string root_;
  Clock& clock_;
  const Properties& properties_;
  const Readings& readings_;
  mutable std::mutex lock_;
  Version drawn_;                         // the framebuffer as the display has left it
  std::vector<std::string> drawn_lines_;  // what the test card in it says
};

}  // namespace atd::sim
