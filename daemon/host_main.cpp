// The daemon on a desktop: boots a simulated phone and serves its socket until it is told to stop, or until the phone
// switches itself off.
#include <android/log.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "atd.h"
#include "daemon/boot.h"
#include "simulator/control.h"
#include "simulator/simulated_device.h"

namespace {

const std::map<std::string, int> kLogLevels = {
    {"verbose", ANDROID_LOG_VERBOSE}, {"debug", ANDROID_LOG_DEBUG}, {"info", ANDROID_LOG_INFO},
    {"warn", ANDROID_LOG_WARN},       {"error", ANDROID_LOG_ERROR}, {"silent", ANDROID_LOG_SILENT},
};

constexpr int kRebootSignal = SIGUSR1;
constexpr char kSocketVariable[] = "ANDROID_SOCKET_atd";

// What the phone did to itself; written before kRebootSignal is sent.
std::string g_ended_by;

struct Options {
  std::string device;
  std::string record;
  int log_level = ANDROID_LOG_INFO;
  bool background = false;
  bool rebooted = false;
};

// Goes on in a child that has a session of its own. The parent ends with status 0 once the child says that it is ready,
// or with the child's status when it failed before.
int detach() {
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0) return -1;
  pid_t child = fork();
  if (child < 0) return -1;
  if (child > 0) {
    close(ready[1]);
    char byte;
    if (read(ready[0], &byte, 1) == 1) _exit(0);
    int status = 0;
    waitpid(child, &status, 0);
    _exit(WIFEXITED(status) && WEXITSTATUS(status) != 0 ? WEXITSTATUS(status) : 1);
  }
  close(ready[0]);
  setsid();
  return ready[1];
}

void drop_terminal() {
  int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (int fd = 0; fd <= 2; ++fd) dup2(null, fd);
  close(null);
}

// Starts this program anew, as the next boot of the same phone.
void boot_again(const Options& options, const char* log_level, int spare_socket) {
  if (spare_socket >= 0) setenv(kSocketVariable, std::to_string(spare_socket).c_str(), 1);
  std::vector<const char*> arguments = {"atd",         "--device", options.device.c_str(),
                                        "--log-level", log_level,  "--rebooted"};
  if (!options.record.empty()) arguments.insert(arguments.end(), {"--record", options.record.c_str()});
  arguments.push_back(nullptr);
  execv("/proc/self/exe", const_cast<char**>(arguments.data()));
  fprintf(stderr, "atd: cannot start again: %s\n", strerror(errno));
}

int serve(const Options& options, const char* log_level) {
  sigset_t signals;
  sigemptyset(&signals);
  for (int signal : {SIGTERM, SIGINT, SIGHUP, kRebootSignal}) sigaddset(&signals, signal);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  int ready = -1;
  if (options.background && !options.rebooted && (ready = detach()) < 0) {
    fprintf(stderr, "atd: cannot go to the background: %s\n", strerror(errno));
    return 1;
  }
  // A socket that was handed over is closed when the service stops; a reboot needs it again.
  const char* handed_over = getenv(kSocketVariable);
  int spare_socket = handed_over ? dup(atoi(handed_over)) : -1;

  std::string error;
  auto device = atd::sim::SimulatedDevice::open(options.device, &error);
  if (!device) {
    fprintf(stderr, "atd: %s\n", error.c_str());
    return 1;
  }
  if (!options.record.empty()) {
    device->sockets.record = atd::sim::SocketRecord::open(options.record, device->clock, &error);
    if (!device->sockets.record) {
      fprintf(stderr, "atd: %s\n", error.c_str());
      return 1;
    }
  }
  device->power.allow([](const std::string& what) {
    // Only the first one counts: a phone that goes down does not go down again.
    static std::atomic_flag going_down;
    if (going_down.test_and_set()) return;
    g_ended_by = what;
    kill(getpid(), kRebootSignal);
  });
  device->host = {.program = "atd " ATD_VERSION,
                  .stop = [] { kill(getpid(), SIGTERM); },
                  .request_to_system = request_to_system,
                  .ckpd_send_event = ckpd_send_event,
                  .send_key_native = send_key_native,
                  .ctsa_send_event = ctsa_send_event};
  auto control = atd::sim::Control::bind(*device, &error);
  if (!control) {
    fprintf(stderr, "atd: %s\n", error.c_str());
    return 1;
  }
  // Whatever level is asked for, the reason why the daemon cannot start is shown.
  device->logs.echo(std::min(options.log_level, static_cast<int>(ANDROID_LOG_ERROR)));
  atd::boot();
  // The verbs use what has booted; a caller that came before waits.
  control->start();
  device->logs.echo(options.log_level);
  if (options.log_level <= ANDROID_LOG_INFO) {
    fprintf(stderr, "atd: phone %s is up; talk to it with: atdctl --device %s\n", device->root().c_str(),
            device->root().c_str());
  }
  if (ready >= 0) {
    device->logs.echo(ANDROID_LOG_SILENT);
    drop_terminal();
    if (write(ready, "", 1) != 1) return 1;
    close(ready);
  }

  int signal = 0;
  sigwait(&signals, &signal);
  // Nothing that sleeps, such as a slow modem, delays the end.
  device->power.shut();
  device->clock.release();
  control->hang_up();
  stop_socket();
  // The verbs that still run use the phone.
  control.reset();
  device.reset();
  if (signal != kRebootSignal) return 0;
  fprintf(stderr, "atd: phone %s: %s\n", options.device.c_str(), g_ended_by.c_str());
  if (g_ended_by == "power-off" || g_ended_by == "reboot dload") return 0;
  boot_again(options, log_level, spare_socket);
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  std::string log_level = "info";
  CLI::App app{"Runs a simulated phone and serves its AT-command socket, DIR/dev/socket/atd."};
  app.add_option("--device", options.device, "the phone's folder, made on first use")
      ->required()
      ->type_name("DIR")
      ->check([](const std::string& folder) { return folder.empty() ? "a folder is needed" : ""; });
  app.add_option("--log-level", log_level,
                 "lowest level shown on standard error: verbose, debug, info (the default), "
                 "warn, error or silent")
      ->type_name("LEVEL")
      ->check(CLI::IsMember(kLogLevels));
  app.add_option("--record", options.record, "append what goes over the socket to this file, one JSON object per line")
      ->type_name("FILE");
  app.add_flag("--background", options.background, "detach once the socket is ready");
  app.set_version_flag("--version", "atd " ATD_VERSION, "print the version and end");
  app.add_flag("--rebooted", options.rebooted, "this is a reboot of the phone")->group("");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    if (e.get_exit_code() == 0) return app.exit(e);
    fprintf(stderr, "atd: %s\nUsage: atd --device DIR [--log-level LEVEL] [--record FILE] [--background]\n", e.what());
    return 64;
  }
  options.log_level = kLogLevels.at(log_level);
  if (!options.record.empty()) options.record = std::filesystem::absolute(options.record);
  return serve(options, log_level.c_str());
}
