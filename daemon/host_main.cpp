// The daemon on a desktop: boots a simulated phone and serves its socket until it is told to stop, or until the phone
// switches itself off.
#include <android/log.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "atd.h"
#include "daemon/background.h"
#include "daemon/boot.h"
#include "daemon/calls.h"
#include "desk/words.h"
#include "simulator/control.h"
#include "simulator/files.h"
#include "simulator/phone_file/phone_file.h"
#include "simulator/simulated_device.h"
#include "simulator/standard_error.h"
#include "text/file.h"

namespace {

using atd::kStopSignals;

const std::map<std::string, int> kLogLevels = {
    {"verbose", ANDROID_LOG_VERBOSE}, {"debug", ANDROID_LOG_DEBUG}, {"info", ANDROID_LOG_INFO},
    {"warn", ANDROID_LOG_WARN},       {"error", ANDROID_LOG_ERROR}, {"silent", ANDROID_LOG_SILENT},
};

constexpr int kRebootSignal = SIGUSR1;
constexpr char kSocketVariable[] = "ANDROID_SOCKET_atd";
constexpr std::chrono::seconds kLongestEnd(5);
constexpr size_t kPhoneFileMax = 16 * 1024 * 1024;

// What the phone did to itself; written before kRebootSignal is sent.
std::string g_ended_by;

// Whether a signal has ended this run.
std::atomic<bool> g_ends{false};

struct Options {
  std::string device;
  bool scratch = false;    // the folder is this program's, and goes away with it
  std::string from;        // the name of the phone's file
  std::string phone_text;  // its content
  std::string record;
  int log_level = ANDROID_LOG_INFO;
  bool background = false;
  // A program that boots the phone again has these from the one before it.
  int ready = -1;     // where to say that the socket is ready: the descriptor of a process that waits
  int not_shown = 0;  // lines that standard error has not taken
};

void say(const std::string& text) { atd::sim::show("atd: " + text + "\n"); }

// Starts this program anew, as the next boot of the same phone.
void boot_again(const Options& options, const char* log_level, int spare_socket) {
  const std::string ready = std::to_string(options.ready), not_shown = std::to_string(atd::sim::await_shown());
  std::vector<const char*> arguments = {"atd",     "--device",    options.device.c_str(), "--log-level",
                                        log_level, "--not-shown", not_shown.c_str()};
  if (!options.record.empty()) arguments.insert(arguments.end(), {"--record", options.record.c_str()});
  if (options.scratch) arguments.push_back("--goes-away");
  if (options.ready >= 0) {
    arguments.insert(arguments.end(), {"--ready", ready.c_str()});
    fcntl(options.ready, F_SETFD, 0);
  }
  if (spare_socket >= 0) {
    setenv(kSocketVariable, std::to_string(spare_socket).c_str(), 1);
    fcntl(spare_socket, F_SETFD, 0);
  }
  arguments.push_back(nullptr);
  execv("/proc/self/exe", const_cast<char**>(arguments.data()));
  say(std::string("cannot start again: ") + strerror(errno));
}

// Makes the folder of a phone that goes away.
bool make_scratch(Options* options) {
  std::string error;
  options->device = atd::sim::make_temporary("atd", &error);
  if (!error.empty()) say(error);
  return error.empty();
}

void forget_scratch(const Options& options) {
  std::error_code error;
  if (options.scratch) std::filesystem::remove_all(options.device, error);
  if (error) say("cannot remove " + options.device + ": " + error.message());
}

// Reads the phone's file, which may keep this program waiting: no signal is blocked yet.
bool read_phone_file(Options* options) {
  const int fd = options->from == "-" ? STDIN_FILENO : open(options->from.c_str(), O_RDONLY | O_CLOEXEC);
  char block[65536];
  ssize_t got = fd < 0 ? -1 : 1;
  while (got > 0 && options->phone_text.size() <= kPhoneFileMax) {
    got = read(fd, block, sizeof block);
    if (got > 0) options->phone_text.append(block, static_cast<size_t>(got));
  }
  if (got < 0) say(options->from + ": " + strerror(errno));
  if (got > 0)
    say(options->from + ": more than 16 MiB; a phone's file is a text of \"atdctl phone export\" or of yours");
  if (fd > STDERR_FILENO) close(fd);
  return got == 0;
}

// What the phone can have the library do.
atd::sim::Host host() {
  return {.program = "atd " ATD_VERSION,
          .stop = [] { kill(getpid(), SIGTERM); },
          .request_to_system = request_to_system,
          .ckpd_send_event = ckpd_send_event,
          .send_key_native = send_key_native,
          .ctsa_send_event = ctsa_send_event,
          .read_so_far = []() -> atd::sim::HostReading {
            const atd::ReadSoFar read = atd::read_so_far();
            return {read.files, read.bytes};
          },
          .call = [](const std::vector<std::string>& words) -> atd::sim::HostAnswer {
            const atd::CallAnswer answer =
                atd::run(atd::read_call(words), {"atdctl phone log", true, nullptr, [] { return g_ends.load(); }});
            return {answer.text, answer.json, answer.status, answer.error};
          }};
}

int serve(Options options, const char* log_level) {
  sigset_t signals;
  sigemptyset(&signals);
  for (int stop : kStopSignals) sigaddset(&signals, stop);
  sigaddset(&signals, kRebootSignal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  auto fail = [](const std::string& why) {
    say(why);
    return 1;
  };
  const char* variable = getenv(kSocketVariable);
  int named = -1;
  if (variable && !atd::read_number(variable, 0, INT_MAX, &named)) named = -1;
  // What is opened later could take the place of one that is not open.
  const int handed_over = fcntl(named, F_GETFD) < 0 ? -1 : named;
  if (variable && handed_over < 0) return fail(std::string(kSocketVariable) + ": no such descriptor");
  if (options.background) {
    atd::close_inherited(handed_over);
    if ((options.ready = atd::detach()) < 0)
      return fail(std::string("cannot go to the background: ") + strerror(errno));
  }
  if (options.ready >= 0) fcntl(options.ready, F_SETFD, FD_CLOEXEC);
  // A socket that was handed over is closed when the service stops; a reboot needs it again.
  const int spare_socket = handed_over < 0 ? -1 : fcntl(handed_over, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  atd::sim::add_not_shown(options.not_shown);

  std::string error;
  std::vector<atd::sim::Fault> faults;
  if (!options.from.empty() &&
      !atd::sim::import_phone(options.phone_text, options.from, options.device, &faults, &error)) {
    return fail(error);
  }
  auto device = atd::sim::SimulatedDevice::open(options.device, &error);
  if (!device) return fail(error);
  // The start folder is left alone, and a relative path of the library's means what it means on a phone.
  if (chdir(device->root().c_str()) != 0) return fail(device->root() + ": " + strerror(errno));
  if (!options.record.empty()) {
    device->sockets.record = atd::sim::SocketRecord::open(options.record, device->clock, &error);
    if (!device->sockets.record) return fail(error);
  }
  const std::vector<std::string> past = device->power.history();
  __android_log_print(ANDROID_LOG_INFO, "phone", "boot %d, after: %s", device->boots(),
                      past.empty() ? "nothing" : past.back().c_str());
  device->power.allow([](const std::string& what) {
    // Only the first one counts: a phone that goes down does not go down again.
    static std::atomic_flag going_down;
    if (going_down.test_and_set()) return;
    g_ended_by = what;
    kill(getpid(), kRebootSignal);
  });
  device->host = host();
  auto control = atd::sim::Control::bind(*device, &error);
  if (!control) return fail(error);
  // Whatever level is asked for, the reason why the daemon cannot start is shown.
  device->logs.echo(std::min(options.log_level, static_cast<int>(ANDROID_LOG_ERROR)));
  std::atomic<const char*> next_level = log_level;
  // A thread of its own, so that this one hears the signals.
  std::thread booting([&] {
    atd::boot();
    if (g_ends) return;
    // One of the phone's own, which its end does not wait for.
    const auto resume = [](void*) -> void* { return atd::resume(), nullptr; };
    device->threads.start(resume, nullptr);
    // They count from the boot's end on.
    for (const atd::sim::Fault& fault : faults) device->faults.set(fault);
    // The verbs use what has booted; a caller that came before waits.
    control->start();
    device->logs.echo(options.log_level);
    if (options.log_level <= ANDROID_LOG_INFO) {
      say("phone " + device->root() + " is up; talk to it with: atdctl --device " + device->root());
    }
    if (options.ready < 0) return;
    device->logs.echo(ANDROID_LOG_SILENT);
    atd::sim::await_shown();
    atd::drop_terminal(handed_over);
    next_level = "silent";
    // One who has waited and is gone does not want the phone.
    if (write(options.ready, "", 1) != 1) kill(getpid(), SIGTERM);
    close(std::exchange(options.ready, -1));
  });

  int signal = 0;
  sigwait(&signals, &signal);
  g_ends = true;
  if (signal != kRebootSignal) device->power.note("stop");
  // Nothing that sleeps, such as a slow modem, delays the end.
  device->power.shut();
  device->clock.release();
  const std::future<void> end = std::async(std::launch::async, [&] {
    booting.join();
    control->hang_up();
    stop_socket();
    // The verbs that still run use the phone.
    control.reset();
    device.reset();
  });
  const bool stuck = end.wait_for(kLongestEnd) == std::future_status::timeout;
  if (stuck) {
    say("phone " + options.device + ": something waits for what does not come any more; it is left behind");
    // An end that was asked for is no kill.
    [[maybe_unused]] const int cleared = truncate((options.device + "/sim/lock").c_str(), 0);
  }
  int status = 0;
  if (signal == kRebootSignal) say("phone " + options.device + ": " + g_ended_by);
  if (signal == kRebootSignal && g_ended_by != "power-off" && g_ended_by != "reboot dload") {
    boot_again(options, next_level, spare_socket);
    status = 1;
  }
  if (stuck) {
    atd::sim::await_shown();
    forget_scratch(options);
    _exit(status);
  }
  return status;
}

// Many clients need more descriptors than a shell allows at first.
void raise_descriptor_limit() {
  struct rlimit limit;
  if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

int main(int argc, char** argv) {
  // A phone that boots again runs /proc/self/exe.
  prctl(PR_SET_NAME, "atd");
  atd::open_standard_streams();
  raise_descriptor_limit();
  Options options;
  std::string log_level = "info";
  CLI::App app{"Runs a simulated phone and serves its AT-command socket, DIR/dev/socket/atd."};
  bool scratch = false;
  app.option_defaults()->take_last();
  const auto device = app.add_option("--device", options.device, "the phone's folder, made on first use")
                          ->type_name("DIR")
                          ->check([](const std::string& folder) { return folder.empty() ? "a folder is needed" : ""; });
  app.add_flag("--scratch", scratch, "a new phone in a folder of TMPDIR,\nwhich goes away at the end")
      ->excludes(device);
  app.add_option("--from", options.from,
                 "make the phone of this file, which\n\"atdctl phone export\" or a person wrote;\n"
                 "\"-\" is standard input")
      ->type_name("FILE")
      ->check([](const std::string& file) { return file.empty() ? "a file is needed" : ""; });
  app.add_option("--log-level", log_level,
                 "lowest level shown on standard error: verbose,\n"
                 "debug, info (the default), warn, error, silent")
      ->check(CLI::IsMember(kLogLevels))
      ->option_text("LEVEL");
  app.add_option("--record", options.record, "append what goes over the socket to this file")->type_name("FILE");
  app.add_flag("--background", options.background, "detach once the socket is ready");
  app.set_version_flag("--version", "atd " ATD_VERSION, "print the version and end");
  app.add_option("--ready", options.ready)->group("");
  app.add_flag("--goes-away", options.scratch)->group("");
  app.add_option("--not-shown", options.not_shown)->group("");
  try {
    app.parse(argc, argv);
    if (!scratch && device->empty()) throw CLI::RequiredError("--device or --scratch");
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) return app.exit(e);
    fprintf(stderr,
            "atd: %s\nUsage: atd --device DIR | --scratch [--from FILE] [--log-level LEVEL] [--record FILE] "
            "[--background]\n",
            e.what());
    return 64;
  }
  options.log_level = kLogLevels.at(log_level);
  for (std::string* path : {&options.device, &options.from, &options.record}) {
    std::error_code error;
    if (!path->empty() && (path != &options.from || *path != "-"))
      *path = std::filesystem::absolute(*path, error).string();
    if (error) {
      fprintf(stderr, "atd: the start folder: %s\n", error.message().c_str());
      return 1;
    }
  }
  // The phone's folder is the start folder later, where a relative path would mean another place.
  const char* const temporary = getenv("TMPDIR");
  if (temporary && *temporary != '\0') setenv("TMPDIR", std::filesystem::absolute(temporary).c_str(), 1);
  if (!options.from.empty() && !read_phone_file(&options)) return 1;
  if (scratch && !make_scratch(&options)) return 1;
  options.scratch |= scratch;
  const int status = serve(options, log_level.c_str());
  forget_scratch(options);
  return status;
}
