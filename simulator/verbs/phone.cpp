// The phone as a whole: its state, its clock, and its end.
#include <time.h>
#include <unistd.h>

#include "desk/recording.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/levels.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

namespace {

std::string local_time(time_t time) {
  struct tm local;
  char text[32];
  localtime_r(&time, &local);
  strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  return text;
}

std::string utc(time_t time) { return iso_time({time, 0}); }

time_t now(SimulatedDevice& device) {
  struct timespec time = {};
  device.clock.get(CLOCK_REALTIME, &time);
  return time.tv_sec;
}

void status(SimulatedDevice& device, VerbCall& call) {
  Json faults = Json::array();
  std::string fault_lines;
  for (const Fault& fault : device.faults.list()) {
    faults.push_back(to_text(fault));
    fault_lines += (fault_lines.empty() ? "" : "\n                ") + to_text(fault);
  }
  const std::string level = level_name(device.logs.echo());
  call.answer("phone           " + device.root() + "\n" + "daemon          " + device.host.program + ", process " +
                  std::to_string(getpid()) + "\n" + "running since   " + local_time(device.booted()) + "\n" +
                  "boots           " + std::to_string(device.boots()) + "\n" + "phone's clock   " +
                  local_time(now(device)) + "\n" + "clients         " + std::to_string(device.sockets.clients) + "\n" +
                  "log level       " + level + "\n" + "faults          " +
                  (fault_lines.empty() ? "none" : fault_lines) + "\n",
              {{"phone", device.root()},
               {"daemon", device.host.program},
               {"pid", getpid()},
               {"running_since", utc(device.booted())},
               {"boots", device.boots()},
               {"clock", utc(now(device))},
               {"clients", device.sockets.clients.load()},
               {"log_level", level},
               {"faults", faults}});
}

void stop(SimulatedDevice& device, VerbCall& call) {
  if (!device.host.stop) return call.fail(kFailed, "the program that runs this phone cannot be stopped from here");
  call.afterwards(device.host.stop);
}

void reboot(SimulatedDevice& device, VerbCall& call) {
  const std::string what = call.count() == 0 ? "reboot" : "reboot " + call[0];
  call.afterwards([&device, what] { device.power.request(what); });
}

void power_off(SimulatedDevice& device, VerbCall& call) {
  call.afterwards([&device] { device.power.request("power-off"); });
}

void power_history(SimulatedDevice& device, VerbCall& call) {
  std::string text;
  Json json = Json::array();
  for (const std::string& line : device.power.history()) {
    text += line + "\n";
    json.push_back(line);
  }
  call.answer(text, json);
}

void clock_show(SimulatedDevice& device, VerbCall& call) {
  call.answer(local_time(now(device)) + "\n", {{"clock", utc(now(device))}});
}

void clock_advance(SimulatedDevice& device, VerbCall& call) {
  int seconds;
  if (!call.number(0, "the time", 1, 10 * 365 * 86400, &seconds)) return;
  device.clock.advance(static_cast<uint64_t>(seconds) * 1000000);
  clock_show(device, call);
}

constexpr Verb kVerbs[] = {
    {"status", "", "Shows the running phone: since when, clients, log level, faults.", status},
    {"stop", "", "Stops the daemon; starting it again boots the phone.", stop},
    {"reboot", "[REASON]", "Reboots the phone; the reason \"dload\" is download mode, which ends the daemon.", reboot},
    {"power-off", "", "Switches the phone off, which ends the daemon.", power_off},
    {"power history", "", "Shows why the phone's last runs ended, the latest at the end.", power_history},
    {"clock", "", "Shows the phone's date and time.", clock_show},
    {"clock advance", "SECONDS", "Moves the phone's time ahead; what waits until then is done.", clock_advance},
};

}  // namespace

std::span<const Verb> phone_rows() { return kVerbs; }

}  // namespace atd::sim
