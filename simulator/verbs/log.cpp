// The phone's log.
#include <android/log.h>
#include <errno.h>
#include <string.h>

#include <algorithm>

#include "desk/nearest.h"
#include "simulator/sample_logs.h"
#include "simulator/simulated_device.h"
#include "simulator/verbs/levels.h"
#include "simulator/verbs/verb_call.h"
#include "simulator/verbs/verbs.h"

namespace atd::sim {

const std::vector<std::string>& level_names() {
  static const std::vector<std::string> names = {"verbose", "debug", "info", "warn", "error", "fatal", "silent"};
  return names;
}

std::string level_name(int priority) {
  const size_t i = static_cast<size_t>(priority - ANDROID_LOG_VERBOSE);
  return i < level_names().size() ? level_names()[i] : "?";
}

int level_of(const std::string& name) {
  const auto found = std::find(level_names().begin(), level_names().end(), name);
  return found == level_names().end() ? -1 : ANDROID_LOG_VERBOSE + static_cast<int>(found - level_names().begin());
}

namespace {

constexpr size_t kTimeSize = 18;  // "MM-DD hh:mm:ss.mmm"
constexpr int kPauseMs = 200;     // between two looks at whether the caller is still there

struct Selection {
  bool follow = false;
  int level = ANDROID_LOG_VERBOSE;
  bool buffers[std::size(kBufferNames)] = {true, false, false, true, true};
};

// The priority of a line, whose letter stands after the time and two numbers.
int priority_of(const std::string& line) {
  const size_t at = line.find_first_not_of(" 0123456789", std::min(kTimeSize, line.size()));
  for (int priority = ANDROID_LOG_VERBOSE; at != line.npos && priority <= ANDROID_LOG_FATAL; ++priority) {
    if (priority_letter(priority) == line[at]) return priority;
  }
  return ANDROID_LOG_UNKNOWN;
}

// False when the caller is gone.
bool show(VerbCall& call, const Selection& selection, const LogLine& line) {
  if (!selection.buffers[line.buffer] || priority_of(line.text) < selection.level) return true;
  return call.answer(line.text + "\n", {{"buffer", kBufferNames[line.buffer]}, {"line", line.text}});
}

bool set_buffer(const std::string& name, Selection* selection) {
  const auto found = std::find(std::begin(kBufferNames), std::end(kBufferNames), name);
  if (found == std::end(kBufferNames)) return false;
  std::fill(std::begin(selection->buffers), std::end(selection->buffers), false);
  selection->buffers[found - std::begin(kBufferNames)] = true;
  return true;
}

bool unknown_level(VerbCall& call, const std::string& name) {
  call.fail(kUsage, "\"" + name + "\" is not a level; levels: " + listed(level_names()));
  return false;
}

bool select(VerbCall& call, Selection* selection) {
  for (size_t i = 0; i < call.count(); ++i) {
    const std::string& word = call[i];
    if (word == "-f" || word == "--follow") {
      selection->follow = true;
    } else if (word == "--level") {
      selection->level = level_of(call[++i]);
      if (selection->level < 0) return unknown_level(call, call[i]);
    } else if (word == "--buffer") {
      if (!set_buffer(call[++i], selection)) {
        call.fail(kUsage, "\"" + call[i] + "\" is not a buffer; buffers: " +
                              listed({std::begin(kBufferNames), std::end(kBufferNames)}));
        return false;
      }
    } else {
      call.fail(kUsage, "\"" + word + "\" is not an option of log; options: -f, --level LEVEL, --buffer NAME");
      return false;
    }
  }
  return true;
}

void log(SimulatedDevice& device, VerbCall& call) {
  Selection selection;
  if (!select(call, &selection)) return;
  std::vector<LogLine> before;
  Logs::Follower follower(device.logs, &before);
  // The buffers came one after the other; a line begins with its time.
  std::stable_sort(before.begin(), before.end(), [](const LogLine& a, const LogLine& b) {
    return a.text.compare(0, kTimeSize, b.text, 0, kTimeSize) < 0;
  });
  for (const LogLine& line : before) {
    if (!show(call, selection, line)) return;
  }
  LogLine line;
  while (selection.follow) {
    const bool came = follower.next(&line, kPauseMs);
    if (came ? !show(call, selection, line) : !call.is_heard()) return;
  }
}

void log_level(SimulatedDevice& device, VerbCall& call) {
  const int level = level_of(call[0]);
  if (level < 0) unknown_level(call, call[0]);
  else device.logs.echo(level);
}

void fill(SimulatedDevice& device, VerbCall& call) {
  if (!make_sample_logs(device.root()) || !make_sample_crash(device.items)) {
    call.fail(kFailed, std::string("the logs cannot be written: ") + strerror(errno));
  }
}

constexpr Verb kVerbs[] = {
    {"log", "[-f] [--level LEVEL] [--buffer NAME]",
     "Shows the buffers main, system and crash, or the one named, from a level on; -f goes on with new lines.", log,
     Masks::all},
    {"logs fill", "", "Puts a new phone's sample logs back below data/, with the record of a crash in the items.",
     fill},
    {"log-level", "LEVEL", "Sets the lowest level that the daemon shows on its standard error.", log_level},
};

}  // namespace

std::span<const Verb> log_rows() { return kVerbs; }

}  // namespace atd::sim
