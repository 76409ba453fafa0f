#include "client/failure.h"

#include <errno.h>
#include <fmt/format.h>
#include <limits.h>
#include <poll.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "client/json.h"
#include "client/output.h"

namespace atd::client {
namespace {

constexpr StatusMeaning kStatuses[] = {
    {kOk, "done; the result is 0"},
    {kFailed, "the result is 1: failed; a replay or a batch found a difference, doctor a fault"},
    {kUnsupported, "the result is 2: not supported"},
    {kOther, "any other result, or a malformed answer"},
    {kUsage, "a mistake in the arguments, or in a file that they name"},
    {kNoDaemon, "no daemon at the socket, or no phone in the folder, or it went away"},
    {kNoOutput, "output or a recording cannot be written; no message if its reader ended"},
    {kTimedOut, "no answer in time, or no platform to give one"},
    {kNoPermission, "no permission for the socket, the phone's folder or a file"},
};

int severity(int status) {
  constexpr int kBySeverity[] = {kOk,       kFailed,   kUnsupported,  kOther,   kUsage,
                                 kTimedOut, kNoDaemon, kNoPermission, kNoOutput};
  return static_cast<int>(std::find(std::begin(kBySeverity), std::end(kBySeverity), status) - std::begin(kBySeverity));
}

bool g_complains_in_json = false;

}  // namespace

std::span<const StatusMeaning> statuses() { return kStatuses; }

int worse(int a, int b) { return severity(a) >= severity(b) ? a : b; }

void complain_in_json(bool json) { g_complains_in_json = json; }

int complain(const Failure& failure) {
  const bool in_json = g_complains_in_json && failure && !failure.text.empty();
  if (in_json && !print(failure_json(failure.status, failure.text))) return failure.status;
  if (!failure.text.empty()) fprintf(stderr, "atdctl: %s\n", visible(failure.text).c_str());
  return failure.status;
}

int write_all(int fd, std::string_view bytes, int stop_fd) {
  // What is ready has room for this much, so that no write waits where no signal ends it.
  const size_t most = stop_fd < 0 ? bytes.size() : PIPE_BUF;
  while (!bytes.empty()) {
    pollfd fds[] = {{fd, POLLOUT, 0}, {stop_fd, POLLIN, 0}};
    if (stop_fd >= 0 && poll(fds, 2, -1) > 0 && fds[0].revents == 0) return ECANCELED;
    const ssize_t size = write(fd, bytes.data(), std::min(bytes.size(), most));
    if (size >= 0) bytes.remove_prefix(static_cast<size_t>(size));
    else if (errno == EAGAIN) poll(fds, 2, -1);
    else if (errno != EINTR) return errno;
  }
  return 0;
}

Failure print(const std::string& text, int stop_fd) {
  const int error = write_all(STDOUT_FILENO, text, stop_fd);
  if (error == 0) return {};
  if (error == ECANCELED) return {kStopped, ""};
  return {kNoOutput, error == EPIPE ? "" : fmt::format("standard output cannot be written: {}", strerror(error))};
}

Failure file_failure(const std::string& file, int error) {
  return {is_forbidden(error) ? kNoPermission : kUsage,
          fmt::format("{}: {}", file == "-" ? "standard input" : file, strerror(error))};
}

bool is_forbidden(int error) { return error == EACCES || error == EPERM; }

}  // namespace atd::client
