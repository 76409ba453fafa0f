// The Bluetooth controller.
#include "simulator/bluetooth.h"

#include <limits.h>

#include <algorithm>

#include "desk/nearest.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

void show(SimulatedDevice& device, VerbCall& call) {
  const Bluetooth::State state = device.bluetooth.state();
  const std::string mode = state.dut ? "test mode, loopback " + std::to_string(*state.dut) : "off";
  std::string test = state.low_energy ? "enabled" : "off";
  if (state.test != Bluetooth::Test::none) {
    test = (state.test == Bluetooth::Test::sending ? "sends on channel " : "receives on channel ") +
           std::to_string(state.channel);
  }
  std::string text = "mode        " + mode + "\nlow energy  " + test + "\npackets     " +
                     std::to_string(device.bluetooth.rate()) + " a second\n";
  Json answers = Json::object();
  for (const auto& [function, answer] : device.bluetooth.answers()) {
    text += function + " answers " + std::to_string(answer) + "\n";
    answers[function] = answer;
  }
  call.answer(text, {{"mode", mode}, {"low_energy", test}, {"packets", device.bluetooth.rate()}, {"answers", answers}});
}

void answer(SimulatedDevice& device, VerbCall& call) {
  const auto& functions = Bluetooth::functions();
  if (std::find(functions.begin(), functions.end(), call[0]) == functions.end()) {
    return call.fail(kUsage, "no function is named \"" + call[0] + "\"; write " + listed(functions));
  }
  int result;
  if (call[1] == "none") device.bluetooth.set_answer(call[0], std::nullopt);
  else if (call.number(1, "the result", INT_MIN, INT_MAX, &result)) device.bluetooth.set_answer(call[0], result);
}

void packets(SimulatedDevice& device, VerbCall& call) {
  int rate;
  if (call.number(0, "the number of packets", 0, 1000000, &rate)) device.bluetooth.set_rate(rate);
}

void lose(SimulatedDevice& device, VerbCall&) { device.bluetooth.lose(); }

constexpr Verb kVerbs[] = {
    {"bluetooth", "", "Shows the Bluetooth controller: its test mode, Low Energy, what it was told to answer.", show},
    {"bluetooth answer", "FUNCTION RESULT|none", "Has a function of its test library answer this and do nothing.",
     answer},
    {"bluetooth packets", "NUMBER", "Says how many packets a second a receiver test counts.", packets},
    {"bluetooth lose", "", "Resets the controller: tests and modes end.", lose},
};

}  // namespace

std::span<const Verb> bluetooth_rows() { return kVerbs; }

}  // namespace atd::sim
