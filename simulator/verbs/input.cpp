// Keys, touches, and requests of the daemon's own.
#include <libevdev/libevdev.h>
#include <linux/input.h>

#include "desk/words.h"
#include "platform/records.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

constexpr int kLastDevice = 31;

void need(VerbCall& call, bool can) {
  if (!can) call.fail(kFailed, "the program that runs this phone does not do this");
}

// The records that each device got since its text had the length `before`.
std::string new_events(SimulatedDevice& device, const std::vector<size_t>& before) {
  std::string text;
  for (int n = 0; n <= kLastDevice; ++n) {
    const std::string all = device.input.decode(n);
    const size_t old = before[static_cast<size_t>(n)];
    // A device that had too many records has begun anew.
    const std::string fresh = all.substr(old <= all.size() ? old : 0);
    if (!fresh.empty()) text += "event" + std::to_string(n) + "\n" + fresh;
  }
  return text;
}

std::vector<size_t> present_events(SimulatedDevice& device) {
  std::vector<size_t> sizes;
  for (int n = 0; n <= kLastDevice; ++n) sizes.push_back(device.input.decode(n).size());
  return sizes;
}

void key(SimulatedDevice& device, VerbCall& call) {
  int code = libevdev_event_code_from_name(EV_KEY, call[0].c_str());
  if (code < 0 && !call.number(0, "the key is a name such as KEY_POWER, or", 0, KEY_MAX, &code)) return;
  const std::string& how = call[1];
  if (!how.empty() && how != "press" && how != "release") {
    return call.fail(kUsage, "after the key write press, release, or nothing for both");
  }
  if (!device.host.send_key_native) return need(call, false);
  const auto before = present_events(device);
  if (how != "release") device.host.send_key_native(code, 1);
  if (how != "press") device.host.send_key_native(code, 0);
  const std::string events = new_events(device, before);
  if (events.empty()) return call.fail(kFailed, "no input device has the key " + call[0] + "; see sim/input.conf");
  call.answer(events, {{"key", code}, {"events", events}});
}

void touch(SimulatedDevice& device, VerbCall& call) {
  int mode, x, y;
  if (!call.number(0, "the mode", 0, 5, &mode) || !call.number(1, "x", 0, INT32_MAX, &x) ||
      !call.number(2, "y", 0, INT32_MAX, &y)) {
    return;
  }
  if (!device.host.ctsa_send_event) return need(call, false);
  const auto before = present_events(device);
  std::string words[] = {call[0], call[1], call[2]};
  if (device.host.ctsa_send_event(words[0].data(), words[1].data(), words[2].data(), nullptr) != 0) {
    return call.fail(kFailed, "the touch failed; see the log, and sim/input.conf for the touch device");
  }
  const std::string events = new_events(device, before);
  call.answer(events, {{"mode", mode}, {"x", x}, {"y", y}, {"events", events}});
}

void events(SimulatedDevice& device, VerbCall& call) {
  int only = -1;
  if (call.count() > 0 && !call.number(0, "the device", 0, kLastDevice, &only)) return;
  std::string text;
  Json json = Json::array();
  for (int n = 0; n <= kLastDevice; ++n) {
    if (only >= 0 && n != only) continue;
    const std::string lines = device.input.decode(n);
    if (!lines.empty()) text += "event" + std::to_string(n) + "\n" + lines;
    for (const InputEvent& event : device.input.events(n)) {
      json.push_back({{"device", n}, {"type", event.type}, {"code", event.code}, {"value", event.value}});
    }
  }
  call.answer(text, json);
}

void keypad(SimulatedDevice& device, VerbCall& call) {
  int code;
  if (!call.number(0, "the character code", 0, 255, &code)) return;
  if (!device.host.ckpd_send_event) return need(call, false);
  std::string text = call[0];
  const int result = device.host.ckpd_send_event(text.data());
  if (result != 0) {
    call.fail(kFailed, "the platform did not press the key: error " + std::to_string(result) +
                           "; \"atdctl serve\" stands in for the platform");
  }
}

void request(SimulatedDevice& device, VerbCall& call) {
  int opcode;
  if (!call.number(0, "the opcode", INT32_MIN, INT32_MAX, &opcode)) return;
  if (!device.host.request_to_system) return need(call, false);
  const std::string data = call.rest(1);
  char out[MAX_RZCMD_REQ_SIZE];
  int length = 0, status = 0;
  const int result =
      device.host.request_to_system(opcode, data.data(), static_cast<int>(data.size()), out, &length, &status);
  const std::string answer(out, static_cast<size_t>(bounded_length(length)));
  if (result != 0) return call.fail(kFailed, "the request failed: error " + std::to_string(result));
  call.answer(shown(answer) + "\n",
              {{"opcode", opcode}, {"result", result}, {"result_status", status}, {"hex", to_hex(answer)}});
}

constexpr Verb kVerbs[] = {
    {"key", "NAME|CODE [press|release]", "Presses and releases a key of an input device: KEY_POWER, or 116.", key},
    {"touch", "MODE X Y", "Touches the screen: 0 release, 1 press, 2 tap, 3 double tap.", touch},
    {"events", "[DEVICE]", "Shows what was written to the input devices since the boot.", events},
    {"keypad", "CODE", "Has the daemon ask the platform for an AT keypad key, by its character code: 35 is #.", keypad},
    {"request", "OPCODE [TEXT...]", "Has the daemon ask the modem (0 to 971) or the platform (1000 to 4414).", request},
};

}  // namespace

std::span<const Verb> input_rows() { return kVerbs; }

}  // namespace atd::sim
