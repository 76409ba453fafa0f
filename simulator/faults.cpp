#include "simulator/faults.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>

#include "channel/opcodes.h"
#include "desk/nearest.h"
#include "desk/words.h"
#include "simulator/factory_items.h"

namespace atd::sim {

const std::vector<CallName>& call_names() {
  static const std::vector<CallName> names = {
      {Call::any, "any", ""},
      {Call::init_ftm_item, "init_ftm_item", ""},
      {Call::get_ftm_item, "get_ftm_item", "INDEX"},
      {Call::set_ftm_item, "set_ftm_item", "INDEX"},
      {Call::dmi_init, "dmi_init", ""},
      {Call::dmi_release, "dmi_release", ""},
      {Call::dmi_client_handle_release, "dmi_client_handle_release", ""},
      {Call::request_to_modem_via_dmi, "request_to_modem_via_dmi", "OPCODE"},
      {Call::diagpkt_alloc, "diagpkt_alloc", "CODE"},
      {Call::property_get, "property_get", "NAME"},
      {Call::property_set, "property_set", "NAME"},
      {Call::android_reboot, "android_reboot", ""},
      {Call::acquire_wake_lock, "acquire_wake_lock", "NAME"},
      {Call::release_wake_lock, "release_wake_lock", "NAME"},
      {Call::ioctl, "ioctl", "REQUEST"},
      {Call::system, "system", "COMMAND"},
      {Call::run, "run", "PROGRAM"},
      {Call::clock_gettime, "clock_gettime", ""},
      {Call::wait_readable, "wait_readable", ""},
      {Call::umount2, "umount2", "FOLDER"},
      {Call::statfs, "statfs", "PATH"},
      {Call::start_thread, "start_thread", ""},
      {Call::connect, "connect", "SOCKET"},
      {Call::sendmsg, "sendmsg", ""},
      {Call::fingerprint, "fingerprint", "FUNCTION"},
      {Call::bluetooth, "bluetooth", "FUNCTION"},
      {Call::unified_sysfs_read, "unified_sysfs_read", "NODE"},
      {Call::unified_sysfs_write, "unified_sysfs_write", "NODE"},
      {Call::volume, "volume", "COMMAND"},
      {Call::selinux_android_restorecon, "selinux_android_restorecon", "PATH"},
  };
  return names;
}

const CallName& call_name(Call call) {
  return *std::find_if(call_names().begin(), call_names().end(), [&](const CallName& row) { return row.call == call; });
}

namespace {

// Reads "nth=N", "times=N", "late=MILLISECONDS" or "kill"; false for another word or a wrong number.
bool take_option(const std::string& word, Fault* fault) {
  if (word == "kill") return fault->kills = true;
  const size_t equals = word.find('=');
  if (equals == word.npos) return false;
  const std::string name = word.substr(0, equals), value = word.substr(equals + 1);
  if (name == "late") return read_number(value, 1, 86400000, &fault->late_ms);
  if (name == "times") return read_number(value, 1, INT32_MAX, &fault->times);
  if (name != "nth" || !read_number(value, 1, INT32_MAX, &fault->passes)) return false;
  --fault->passes;
  if (fault->times < 0) fault->times = 1;
  return true;
}

// Give the object of a call its form; the sentence that says what is wrong with it, "" when it can be hit.
std::string find_index(std::string* object) {
  std::string error;
  if (const FactoryItem* item = item_named(*object, &error)) *object = std::to_string(item->index);
  return error;
}

std::string find_opcode(std::string* object) {
  int opcode;
  if (read_number(*object, 0, kLastModemOpcode, &opcode)) return *object = std::to_string(opcode), "";
  return "\"" + *object + "\" is no opcode of the modem: 0 to " + std::to_string(kLastModemOpcode);
}

constexpr struct {
  std::string_view object;
  std::string (*find)(std::string* object);
} kObjects[] = {{"INDEX", find_index}, {"OPCODE", find_opcode}};

}  // namespace

std::string name_of(const Fault& fault) {
  const CallName& row = call_name(fault.call);
  return row.name + (fault.object.empty() ? "" : " " + fault.object);
}

std::string to_text(const Fault& fault) {
  std::string text = name_of(fault) + ": ";
  text += fault.kills ? "kills the daemon" : fault.late_ms > 0 ? std::to_string(fault.late_ms) + " ms late" : "fails";
  if (fault.times == 1) text += " once";
  else if (fault.times > 1) text += " " + std::to_string(fault.times) + " times";
  if (fault.passes > 0) text += ", from call " + std::to_string(fault.passes + 1) + " on";
  return text;
}

std::vector<std::string> to_words(const Fault& fault) {
  std::vector<std::string> words = {call_name(fault.call).name};
  if (!fault.object.empty()) words.push_back(fault.object);
  if (fault.passes > 0) words.push_back("nth=" + std::to_string(fault.passes + 1));
  if (fault.times > 0 && (fault.passes == 0 || fault.times > 1))
    words.push_back("times=" + std::to_string(fault.times));
  if (fault.late_ms > 0) words.push_back("late=" + std::to_string(fault.late_ms));
  if (fault.kills) words.push_back("kill");
  return words;
}

std::string parse_fault(const std::vector<std::string>& words, Fault* fault) {
  std::vector<std::string> names;
  for (const CallName& row : call_names()) names.push_back(row.name);
  const std::string name = words.empty() ? "" : words[0];
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) {
    return "no call is named \"" + name + "\"; nearest: " + listed(nearest(name, names, 3)) +
           "; \"fault list\" shows all";
  }
  fault->call = call_names()[static_cast<size_t>(found - names.begin())].call;
  for (size_t i = 1; i < words.size(); ++i) {
    if (take_option(words[i], fault)) continue;
    if (i > 1 || words[i].find('=') != std::string::npos) {
      return "\"" + words[i] + "\" after the call: write nth=N, times=N, late=MILLISECONDS or kill";
    }
    fault->object = words[i];
  }
  for (const auto& row : kObjects) {
    if (!fault->object.empty() && row.object == call_name(fault->call).object) return row.find(&fault->object);
  }
  return "";
}

void Faults::set(const Fault& fault) {
  std::lock_guard guard(lock_);
  faults_.remove_if([&](const Fault& old) { return old.call == fault.call && old.object == fault.object; });
  faults_.push_back(fault);
  armed_ = true;
}

void Faults::fail(const std::string& call, int times) {
  const size_t space = call.find(' ');
  for (const CallName& row : call_names()) {
    if (call.substr(0, space) != row.name) continue;
    return set({row.call, space == std::string::npos ? "" : call.substr(space + 1), 0, times});
  }
  fprintf(stderr, "no boundary call is named %s\n", call.c_str());
  abort();
}

void Faults::clear(Call call, const std::string& object) {
  std::lock_guard guard(lock_);
  faults_.remove_if([&](const Fault& fault) { return fault.call == call && fault.object == object; });
  armed_ = !faults_.empty();
}

void Faults::clear() {
  std::lock_guard guard(lock_);
  faults_.clear();
  armed_ = false;
}

std::vector<Fault> Faults::list() const {
  std::lock_guard guard(lock_);
  return {faults_.begin(), faults_.end()};
}

bool Faults::hits(Call call, const std::string& object) {
  ++calls_;
  if (!armed_) return false;
  bool fails = false;
  int late_ms = 0;
  {
    std::lock_guard guard(lock_);
    for (Fault& fault : faults_) {
      if ((fault.call != Call::any && fault.call != call) || (!fault.object.empty() && fault.object != object))
        continue;
      if (fault.passes > 0) {
        --fault.passes;
        continue;
      }
      if (fault.kills) kill(getpid(), SIGKILL);
      if (fault.times > 0) --fault.times;
      late_ms = std::max(late_ms, fault.late_ms);
      fails |= fault.late_ms == 0;
    }
    faults_.remove_if([](const Fault& fault) { return fault.times == 0; });
    armed_ = !faults_.empty();
  }
  // Who asked the volume daemon is another thread, which has yet to begin its wait for the answer.
  if (late_ms > 0 && call == Call::volume) clock_.await_reader();
  if (late_ms > 0) clock_.sleep(static_cast<uint64_t>(late_ms) * 1000);
  return fails;
}

}  // namespace atd::sim
