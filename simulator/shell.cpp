#include "simulator/shell.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "simulator/files.h"

namespace atd::sim {

namespace {

struct Tool {
  const char* name;
  const char* script;  // null: the desktop's own tool of that name
};

// $ATD_ROOT is the phone's folder.
constexpr Tool kTools[] = {
    {"sh", nullptr},
    {"cat", nullptr},
    {"chmod", nullptr},
    {"cp", nullptr},
    {"echo", nullptr},
    {"ls", nullptr},
    {"mkdir", nullptr},
    {"rm", nullptr},
    {"rmdir", nullptr},
    {"tr", nullptr},
    {"getprop",
     "#!/bin/sh\n"
     "# getprop [NAME [DEFAULT]]: one property, or all.\n"
     "cd \"$ATD_ROOT\" || exit 1\n"
     "if [ $# -eq 0 ]; then\n"
     "  for f in dev/__properties__/* data/property/*; do\n"
     "    [ -f \"$f\" ] && echo \"[${f##*/}]: [$(cat \"$f\")]\"\n"
     "  done\n"
     "  exit 0\n"
     "fi\n"
     "case $1 in persist.*) f=data/property/$1 ;; *) f=dev/__properties__/$1 ;; esac\n"
     "if [ -s \"$f\" ]; then cat \"$f\"; echo; else echo \"$2\"; fi\n"},
    {"setprop",
     "#!/bin/sh\n"
     "# setprop NAME VALUE\n"
     "cd \"$ATD_ROOT\" || exit 1\n"
     "case $1 in\n"
     "  ''|*/*|ro.*) echo \"setprop: failed to set property '$1' to '$2'\" >&2; exit 1 ;;\n"
     "  persist.*) f=data/property/$1 ;;\n"
     "  *) f=dev/__properties__/$1 ;;\n"
     "esac\n"
     "echo \"$2\" > \"$f\"\n"},
    {"logcat",
     "#!/bin/sh\n"
     "# logcat [-b BUFFER]... [-d] [-c] [-f FILE]: the buffers main, system and crash, or those named, in threadtime "
     "form.\n"
     "cd \"$ATD_ROOT\" || exit 1\n"
     "buffers= clear= out=\n"
     "while [ $# -gt 0 ]; do\n"
     "  case $1 in\n"
     "    -b) buffers=\"$buffers $(echo \"$2\" | tr , ' ')\"; shift ;;\n"
     "    -c) clear=1 ;;\n"
     "    -f) out=$2; shift ;;\n"
     "    -v) shift ;;\n"
     "    -d) ;;\n"
     "    *) echo \"logcat: unknown argument $1; known: -b BUFFER, -d, -c, -v FORMAT, -f FILE\" >&2; exit 1 ;;\n"
     "  esac\n"
     "  shift\n"
     "done\n"
     "[ -n \"$out\" ] && exec > \"$out\"\n"
     "for b in ${buffers:-main system crash}; do\n"
     "  case $b in main|radio|events|system|crash) ;; *) echo \"logcat: no buffer $b\" >&2; exit 1 ;; esac\n"
     "  [ -n \"$clear\" ] && rm -f \"dev/log/$b\" \"dev/log/$b.1\"\n"
     "  [ -f \"dev/log/$b\" ] || continue\n"
     "  echo \"--------- beginning of $b\"\n"
     "  for f in \"dev/log/$b.1\" \"dev/log/$b\"; do [ -f \"$f\" ] && tr -d '\\000' < \"$f\"; done\n"
     "done\n"
     "exit 0\n"},
};

bool leaves_root(const std::string& text) {
  for (size_t at = text.find(".."); at != std::string::npos; at = text.find("..", at + 1)) {
    char before = at == 0 ? '/' : text[at - 1];
    char after = at + 2 < text.size() ? text[at + 2] : '/';
    if (!isalnum(static_cast<unsigned char>(before)) && before != '.' && !isalnum(static_cast<unsigned char>(after)) &&
        after != '.') {
      return true;
    }
  }
  return false;
}

// A slash that begins a word begins an absolute path.
std::string mapped(const std::string& command, const std::string& root) {
  std::string result;
  for (size_t i = 0; i < command.size(); ++i) {
    bool starts_word = i == 0 || strchr(" \t\n;|&<>()=\"'`,:{", command[i - 1]);
    if (command[i] == '/' && starts_word) result += root;
    result += command[i];
  }
  return result;
}

// The path of a program: a bare name is one of the phone's tools.
std::string program(const std::string& root, const std::string& name) {
  return name.find('/') == std::string::npos ? root + "/system/bin/" + name : name;
}

int spawn(const std::string& root, const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::string path = "PATH=" + root + "/system/bin", home = "HOME=" + root, base = "ATD_ROOT=" + root;
  char* environment[] = {path.data(), home.data(), base.data(), nullptr};
  const std::string path_of_program = program(root, arguments[0]);
  pid_t child = fork();
  if (child < 0) return -1;
  if (child == 0) {
    // The daemon blocks and ignores signals that its programs are to obey.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    // As on a phone. Nobody waits for one who reads what a program says.
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) dup2(null, fd);
    if (null > STDERR_FILENO) close(null);
    if (chdir(root.c_str()) != 0) _exit(127);
    execve(path_of_program.c_str(), argv.data(), environment);
    _exit(127);
  }
  int status;
  pid_t ended;
  while ((ended = waitpid(child, &status, 0)) < 0 && errno == EINTR) {
  }
  return ended < 0 ? -1 : status;
}

}  // namespace

void Shell::record(const std::string& command) {
  std::lock_guard guard(lock_);
  history_.push_back(command);
}

int Shell::system(const std::string& command) {
  record(command);
  if (leaves_root(command)) return 126 << 8;
  return spawn(root_, {"/bin/sh", "-c", mapped(command, root_)});
}

int Shell::run(const std::vector<std::string>& arguments) {
  std::string line;
  std::vector<std::string> local;
  bool refused = false;
  for (const std::string& argument : arguments) {
    line += (line.empty() ? "" : " ") + argument;
    local.push_back(mapped(argument, root_));
    refused |= leaves_root(argument);
  }
  record(line);
  if (refused) return 126;
  if (access(program(root_, local[0]).c_str(), X_OK) != 0) return -1;
  int status = spawn(root_, local);
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<std::string> Shell::history() const {
  std::lock_guard guard(lock_);
  return history_;
}

void Shell::install_tools() {
  for (const Tool& tool : kTools) {
    std::string path = root_ + "/system/bin/" + tool.name;
    if (access(path.c_str(), F_OK) == 0) continue;
    if (tool.script) {
      write_file(path, tool.script);
      chmod(path.c_str(), 0755);
      continue;
    }
    for (const char* folder : {"/bin/", "/usr/bin/"}) {
      if (access((std::string(folder) + tool.name).c_str(), X_OK) != 0) continue;
      if (symlink((std::string(folder) + tool.name).c_str(), path.c_str()) == 0) break;
    }
  }
}

}  // namespace atd::sim
