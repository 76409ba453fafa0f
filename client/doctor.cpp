#include "client/doctor.h"

#include <errno.h>
#include <fmt/format.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

#include "atd.h"
#include "client/input.h"
#include "client/output.h"
#include "client/peers.h"
#include "desk/control.h"
#include "platform/records.h"

namespace atd::client {
namespace {

constexpr auto ok = Check::State::ok, fail = Check::State::fail, not_seen = Check::State::not_seen;

// A request that changes nothing, and what to do where it fails.
struct Question {
  const char* check;
  const char* opcode;
  const char* advice;
};
constexpr Question kQuestions[] = {
    {"items", "get_serial_number",
     "look for its error in the daemon's log; the item library must open and hold item 9"},
    {"items", "get_ldaf_cal", "look for its error in the daemon's log; the item library must hold item 211"},
    {"modem", "read_pesn",
     "look for \"[DMI]\" in the daemon's log; the modem interface must open (dmi_init) and answer"},
};

std::string file_text(const std::string& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line, '\0');
  while (line.ends_with('\n')) line.pop_back();
  return line;
}

class Doctor {
 public:
  Doctor(const Target& target, const std::function<void(const Check&)>& tell)
      : target_(target), tell_(tell), folder_(phone_root(target.socket)) {}

  void run() {
    socket_file();
    connection();
    version();
    platform();
    const bool is_here = folder_ && access((*folder_ + "/system/bin").c_str(), F_OK) == 0;
    if (is_here) examine_nodes(*folder_, is_as_daemon(), tell_);
    else tell_({"nodes", not_seen, "the phone's files are not here", "run atdctl on the phone, as root"});
    for (const Question& question : kQuestions) ask_for(question);
  }

 private:
  bool is_as_daemon() const { return geteuid() == 0 || (peer_.pid != 0 && geteuid() == peer_.uid); }

  Deadline deadline() const { return in_seconds(target_.timeout); }

  // What to do where the socket cannot be reached.
  std::string advice_on(int error) const {
    if (is_forbidden(error)) return "run atdctl as the user who runs the daemon, or as root";
    if (error == ETIMEDOUT) return "the daemon accepts nobody: look for what holds it up in its log";
    return how_to_start(folder_.value_or(""));
  }

  void socket_file() {
    const std::string& path = target_.socket;
    struct stat file;
    if (lstat(path.c_str(), &file) != 0) {
      const int error = errno;
      tell_({"socket", fail, fmt::format("{}: {}", path, strerror(error)), advice_on(error)});
      return tell_({"label", not_seen, "no socket", "mend the socket first"});
    }
    const passwd* user = getpwuid(file.st_uid);
    const std::string owner = user != nullptr ? user->pw_name : std::to_string(file.st_uid);
    const group* users = getgrgid(file.st_gid);
    const std::string owners = users != nullptr ? users->gr_name : std::to_string(file.st_gid);
    const std::string found =
        fmt::format("{}: owner {}, group {}, mode {:04o}", path, owner, owners, file.st_mode & 07777);
    if (!S_ISSOCK(file.st_mode)) {
      tell_({"socket", fail, found + ", no socket", "remove what is there, and start the daemon"});
    } else if (folder_ && (file.st_mode & S_IRWXO) != 0) {
      tell_({"socket", fail, found, "close it to others: mode 0660, as packaging/atd.rc has it"});
    } else {
      tell_({"socket", ok, found, ""});
    }
    char label[256] = {};
    if (lgetxattr(path.c_str(), "security.selinux", label, sizeof label - 1) < 0) {
      tell_({"label", not_seen, strerror(errno), "look on the phone: ls -Z /dev/socket/atd"});
    } else if (strstr(label, ":socket_device:") != nullptr) {
      tell_({"label", fail, label, "add packaging/sepolicy to the board's policy: the socket has no label of its own"});
    } else {
      tell_({"label", ok, label, ""});
    }
  }

  void connection() {
    const int error = connection_.open(target_.socket, deadline());
    if (error == ENOENT) tell_({"connection", not_seen, "no socket", "mend the socket first"});
    else if (error != 0) tell_({"connection", fail, strerror(error), advice_on(error)});
    if (error != 0) return tell_({"daemon", not_seen, "no connection", "mend the connection first"});
    socklen_t size = sizeof peer_;
    char label[256] = {};
    socklen_t label_size = sizeof label - 1;
    if (getsockopt(connection_.fd(), SOL_SOCKET, SO_PEERCRED, &peer_, &size) != 0) peer_ = {};
    if (getsockopt(connection_.fd(), SOL_SOCKET, SO_PEERSEC, label, &label_size) != 0) *label = '\0';
    const std::string name = file_text(fmt::format("/proc/{}/comm", peer_.pid));
    const std::string found = fmt::format("process {} ({}), user {}, group {}{}", peer_.pid, name.empty() ? "?" : name,
                                          peer_.uid, peer_.gid, *label == '\0' ? "" : std::string(", ") + label);
    if (strstr(label, ":init:") != nullptr || strstr(label, ":su:") != nullptr) {
      tell_({"connection", fail, found, "let init start the daemon, with the domain of packaging/sepolicy"});
    } else {
      tell_({"connection", ok, found, ""});
    }
    const auto begin = std::chrono::steady_clock::now();
    const Wait wait = connection_.settle(deadline());
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    if (wait == Wait::message) return tell_({"daemon", ok, fmt::format("answers after {:.1f} ms", seconds * 1000), ""});
    connection_.close();
    const Failure why = wait == Wait::timed_out ? timed_out(target_, "no answer") : went_away(target_);
    tell_({"daemon", fail, why.text, "a long request may run; else restart the daemon and read its log"});
  }

  // What the running simulated phone says of its daemon, "" for none.
  std::string told_version() const {
    Connection control;
    const Deadline end = deadline();
    if (!folder_ || folder_->empty() || control.open(*folder_ + kControlSocket, end) != 0) return "";
    control.send_bytes(to_line(ControlRequest{{"status"}, true, ""}), end);
    InputLines lines(control.fd());
    while (!lines.is_ready()) {
      using std::chrono::milliseconds;
      const auto left = std::chrono::duration_cast<milliseconds>(end - std::chrono::steady_clock::now()).count();
      pollfd ready = {control.fd(), POLLIN, 0};
      if (left <= 0 || poll(&ready, 1, static_cast<int>(std::min<int64_t>(left, 3600000))) <= 0) return "";
      lines.fill();
    }
    std::string line;
    ControlReply reply;
    if (!lines.take(&line) || !from_line(line, &reply)) return "";
    const auto json = nlohmann::json::parse(reply.out, nullptr, false);
    return json.contains("daemon") && json["daemon"].is_string() ? json["daemon"].get<std::string>() : "";
  }

  void version() {
    std::string found = "atdctl " ATD_VERSION;
    const std::string told = told_version();
    std::error_code error;
    const std::string program = std::filesystem::read_symlink(fmt::format("/proc/{}/exe", peer_.pid), error).string();
    if (!told.empty()) found += ", " + told;
    if (folder_ && !program.empty()) found += ", " + program;
    if (told == "atd " ATD_VERSION) return tell_({"build", ok, found, ""});
    if (!told.empty()) return tell_({"build", fail, found, "install both from one build"});
    tell_({"build", not_seen, found + "; the daemon's version is not told", "install both from one build"});
  }

  // The daemon does not know who the platform is. Whoever else keeps a connection to it may be.
  void platform() {
    if (!connection_.is_open()) return tell_({"platform", not_seen, "no connection", "mend the connection first"});
    const int others = other_clients(target_.socket);
    if (others < 0) {
      tell_({"platform", not_seen, "the daemon's connections are not seen", "run atdctl on the phone, as root"});
    } else if (others == 0) {
      tell_({"platform", not_seen, "no other client is connected",
             "start the platform's service; \"atdctl serve\" stands in for it"});
    } else {
      const char* const clients = others == 1 ? "client is connected, which" : "clients are connected, one of which";
      tell_({"platform", ok, fmt::format("{} other {} may be the platform", others, clients), ""});
    }
  }

  void ask_for(const Question& question) {
    if (!connection_.is_open()) return tell_({question.check, not_seen, "no connection", "mend the connection first"});
    const int32_t opcode = find_opcode(question.opcode)->number;
    Response response;
    const Failure failure = ask(connection_, target_, opcode, "", deadline(), &response);
    if (failure.status == kNoDaemon) connection_.close();
    if (failure) return tell_({question.check, fail, opcode_title(opcode) + ": " + failure.text, question.advice});
    // The data may tell whose phone it is.
    const std::string found =
        fmt::format("{}: {}, data_len {}", opcode_title(opcode), result_name(response.result), response.data.size());
    if (response.result == RZCMD_OK) tell_({question.check, ok, found, ""});
    else tell_({question.check, fail, found, question.advice});
  }

  const Target& target_;
  const std::function<void(const Check&)>& tell_;
  std::optional<std::string> folder_;  // of the phone, "" on a phone itself, none where only its socket is here
  Connection connection_;
  ucred peer_ = {};
};

}  // namespace

const char* to_text(Check::State state) {
  switch (state) {
    case ok: return "ok";
    case fail: return "fail";
    case not_seen: return "not seen";
  }
  return "?";
}

void examine(const Target& target, const std::function<void(const Check&)>& tell) { Doctor(target, tell).run(); }

}  // namespace atd::client
