#include "simulator/shell.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>

#include "platform/os.h"
#include "simulator/command_line.h"
#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr size_t kCommandsKept = 1000;
constexpr int kSyntax = 2 << 8;
constexpr int kNoOutput = 1 << 8;
constexpr int kNoProgram = 126 << 8;
constexpr int kNotFound = 127 << 8;

void complain(const std::string& command, const std::string& what) {
  __android_log_print(ANDROID_LOG_ERROR, "shell", "%s: %s", command.c_str(), what.c_str());
}

int refuse(const std::string& command, const std::string& reason) {
  complain(command, "refused: " + reason);
  return kSyntax;
}

// Starts a program with its arguments and waits until it ends or is stopped; its wait status, -1 with errno when no
// process could be started, or kNotExecuted with errno for a file that no program is. `output` is its standard output,
// or -1.
int spawn(const std::string& root, const std::string& program, const std::vector<std::string>& arguments, int output) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::string path = "PATH=" + root + "/system/bin:/usr/bin:/bin", home = "HOME=" + root, base = "ATD_ROOT=" + root;
  char* environment[] = {path.data(), home.data(), base.data(), nullptr};
  // A program that starts closes the pipe. A child that cannot start it writes the errno.
  int failure[2];
  if (pipe2(failure, O_CLOEXEC) != 0) return -1;
  const pid_t child = fork();
  if (child < 0) {
    const int error = errno;
    for (int end : failure) close(end);
    errno = error;
    return -1;
  }
  if (child == 0) {
    // The daemon blocks and ignores signals that its programs are to obey.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    if (chdir(root.c_str()) != 0) _exit(126);
    // As on a phone: a question such as that of rm is not asked, and nobody waits for one who reads what a program
    // says.
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd <= STDERR_FILENO; ++fd) dup2(null, fd);
    if (null > STDERR_FILENO) close(null);
    if (output >= 0) dup2(output, STDOUT_FILENO);
    execve(program.c_str(), argv.data(), environment);
    [[maybe_unused]] const ssize_t told = write(failure[1], &errno, sizeof errno);
    _exit(126);
  }
  int error = 0, status = -1;
  close(failure[1]);
  ssize_t told;
  while ((told = read(failure[0], &error, sizeof error)) < 0 && errno == EINTR) {
  }
  close(failure[0]);
  while (waitpid(child, &status, WUNTRACED) < 0 && errno == EINTR) {
  }
  // Nobody at a desktop would let it go on.
  if (WIFSTOPPED(status)) {
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  errno = error;
  return told > 0 ? kNotExecuted : status;
}

// Whether the words are those of the broadcast that has the platform wipe the phone.
bool is_master_clear(const std::vector<std::string>& words) {
  const std::string program = words[0].substr(words[0].rfind('/') + 1);
  const auto action = std::find(words.begin(), words.end(), "-a");
  return program == "am" && words.size() > 1 && words[1] == "broadcast" && words.end() - action > 1 &&
         action[1] == "android.intent.action.MASTER_CLEAR";
}

}  // namespace

void Shell::record(const std::string& command) {
  std::lock_guard guard(lock_);
  history_.push_back(command);
  if (history_.size() > kCommandsKept) history_.pop_front();
}

// The file of a program, or "" with the status that says why there is none.
std::string Shell::program(const std::string& name, int* status) const {
  const std::string path = (name.find('/') == name.npos ? "/system/bin/" : "/") + name;
  std::string file = desktop_program(resolve(root_, path, Last::itself));
  if (!file.empty()) return file;
  file = resolve(root_, path);
  struct stat found;
  if (stat(file.c_str(), &found) != 0) *status = kNotFound;
  else if (!S_ISREG(found.st_mode) || access(file.c_str(), X_OK) != 0) *status = kNoProgram;
  else return file;
  return "";
}

// What a program of the desktop gets for a word; false with the reason when it would lead out of the phone, or stop the
// program for ever.
bool Shell::map(const std::string& word, const Tool* tool, std::string* mapped, std::string* error) const {
  const Paths paths = tool ? tool->paths : Paths::followed;
  *mapped = word;
  if (paths == Paths::none || word.empty()) return true;
  if (word[0] == '-') {
    const bool known = tool ? word.find_first_not_of(tool->letters, 1) == word.npos
                            : word.find('/') == word.npos && word.find("..") == word.npos;
    if (!known) *error = "the option " + word;
    return known;
  }
  struct stat found;
  const bool absolute = word[0] == '/';
  const std::string place =
      resolve(root_, absolute ? word : "/" + word, paths == Paths::itself ? Last::itself : Last::followed);
  if (place.empty()) *error = word + ": " + strerror(errno);
  else if (paths == Paths::followed && is_pipe_or_device(place)) *error = word + " is a pipe or a device node";
  else if (absolute) *mapped = place;
  // Programs run in the phone's root. A relative word may be anything; it is a path where something is at its start, or
  // where mkdir -p would put something there and then go up by "..".
  else if ((word.find("..") != word.npos ||
            lstat((root_ + "/" + word.substr(0, word.find('/'))).c_str(), &found) == 0) &&
           place != root_ + "/" + word)
    *mapped = place;
  return error->empty();
}

// Runs the words of a command. False with errno when its program could not be started; then *status is what a shell
// gives for that.
bool Shell::start(const std::string& command, const std::vector<std::string>& words, int output, int* status) {
  const std::string file = program(words[0], status);
  if (file.empty()) {
    complain(command, *status == kNotFound ? "the phone has no such program" : "this is not a program");
    errno = *status == kNotFound ? ENOENT : EACCES;
    return false;
  }
  // By the program that runs: a link of any name may lead to it.
  const Tool* tool = find_tool(file.substr(file.rfind('/') + 1));
  std::vector<std::string> arguments = {words[0]};
  if (tool && tool->option) arguments.push_back(tool->option);
  for (size_t i = 1; i < words.size(); ++i) {
    std::string error;
    if (map(words[i], tool, &arguments.emplace_back(), &error)) continue;
    *status = refuse(command, error);
    errno = EACCES;
    return false;
  }
  const std::string name = words[0].substr(words[0].rfind('/') + 1);
  {
    std::lock_guard guard(lock_);
    const auto exit = exits_.find(name);
    if (exit != exits_.end()) return *status = exit->second << 8, true;
  }
  // This one needs the phone's display, which no process has.
  if (file == root_ + "/system/bin/screencap" && screencap_ && is_installed(file)) {
    return *status = screencap_(arguments, output) << 8, true;
  }
  *status = spawn(root_, file, arguments, output);
  if (*status == kNotExecuted) {
    const int error = errno;
    complain(command, strerror(error));
    errno = error;
    return *status = kNoProgram, false;
  }
  if (*status == 0 && is_master_clear(words)) master_clear_();
  return *status != -1;
}

int Shell::system(const std::string& command) {
  record(command);
  CommandLine line;
  std::string error;
  if (!parse(command, &line, &error)) return refuse(command, error);
  int output = -1;
  if (!line.output.empty()) {
    const std::string name = line.output[0].text;
    const std::string file = resolve(root_, name.starts_with('/') ? name : "/" + name);
    if (is_pipe_or_device(file)) return refuse(command, name + " is a pipe or a device node");
    output = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (output < 0) {
      complain(command, name + ": " + strerror(errno));
      return kNoOutput;
    }
  }
  std::vector<std::string> words;
  for (const Word& word : line.words) expand(root_, word, &words);
  int status = 0;
  if (!words.empty()) start(command, words, output, &status);
  if (output >= 0) close(output);
  return status;
}

int Shell::run(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) line += (line.empty() ? "" : " ") + argument;
  record(line);
  int status;
  return start(line, arguments, -1, &status) || status == -1 ? status : kNotExecuted;
}

void Shell::set_exit(const std::string& program, int status) {
  std::lock_guard guard(lock_);
  if (status < 0) exits_.erase(program);
  else exits_[program] = status;
}

std::vector<std::string> Shell::history() const {
  std::lock_guard guard(lock_);
  return {history_.begin(), history_.end()};
}

}  // namespace atd::sim
