// The display.
#include "simulator/display/display.h"

#include <errno.h>
#include <string.h>

#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void display(SimulatedDevice& device, VerbCall& call) {
  std::string error;
  for (size_t i = 0; i < call.count(); i += 2) {
    if (!device.display.set(call[i], call[i + 1], &error)) return call.fail(kUsage, error);
  }
  const DisplaySettings now = device.display.settings();
  const std::string size = std::to_string(now.width) + "x" + std::to_string(now.height);
  call.answer(table({{"size", size},
                     {"depth", std::to_string(now.depth) + " bits a pixel in dev/graphics/fb0"},
                     {"format", std::to_string(now.format) + " bits a pixel in a raw image of screencap"}}),
              {{"width", now.width}, {"height", now.height}, {"depth", now.depth}, {"format", now.format}});
}

void picture(SimulatedDevice& device, VerbCall& call) {
  const bool raw = call[0] == "raw";
  if (!raw && call.count() > 0 && call[0] != "png")
    return call.fail(kUsage, "write png or raw, not \"" + call[0] + "\"");
  const std::string file = device.root() + "/sim/screen." + (raw ? "raw" : "png");
  if (!write_file(file, raw ? device.display.raw() : to_png(device.display.picture()))) {
    return call.fail(kFailed, file + ": " + strerror(errno));
  }
  call.answer(file + "\n", {{"file", file}});
}

constexpr Verb kVerbs[] = {
    {"display", "[size|depth|format VALUE...]",
     "Shows the display, or sets it: \"display size 720x1280 depth 16 format 24\".", display},
    {"display picture", "[png|raw]", "Draws what the display shows into a file, and tells which.", picture},
};

}  // namespace

std::span<const Verb> display_rows() { return kVerbs; }

}  // namespace atd::sim
