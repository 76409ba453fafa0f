// How a command ends, and writing what it prints: exit statuses, failures, complaints.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace atd::client {

enum Status {
  kOk = 0,
  kFailed = 1,
  kUnsupported = 2,
  kOther = 3,
  kUsage = 64,
  kNoDaemon = 69,
  kNoOutput = 74,
  kTimedOut = 75,
  kNoPermission = 77,
};

struct StatusMeaning {
  int status;
  const char* meaning;
};

// Every exit status and what it means, by ascending number.
std::span<const StatusMeaning> statuses();

// The worse of two exit statuses, the worst first: 74, 77, 69, 75, 64, 3, 2, 1, 0.
int worse(int a, int b);

// Why a command could not do its work; as a bool it is false when the command could.
struct Failure {
  int status = kOk;
  std::string text;
  explicit operator bool() const { return status != kOk; }
};

// Prints "atdctl: TEXT" on standard error, in one line, and returns the failure's status. A failure without a text
// prints nothing. After complain_in_json(true) a failure is a JSON object on standard output instead, as long as that
// can be written.
int complain(const Failure& failure);
void complain_in_json(bool json);

// Of a failure that is none: a signal ended the command.
inline constexpr int kStopped = -1;

// Writes all the bytes, waiting for room where it must; 0 or an error number. With a `stop_fd` of at least 0 the wait
// for room ends with ECANCELED when that is readable.
int write_all(int fd, std::string_view bytes, int stop_fd = -1);

// Prints a text on standard output, without a buffer, so that a pipe's reader has it at once. Fails with kNoOutput when
// not all of it can be written; where only the reader went away, the failure has no text. With a `stop_fd` it fails
// with kStopped, without a text, when there is no room and that is readable.
[[nodiscard]] Failure print(const std::string& text, int stop_fd = -1);

// The failure that a file, "-" for standard input, cannot be opened or read: kNoPermission or kUsage.
Failure file_failure(const std::string& file, int error);

// Whether the error number says that the user may not do it.
bool is_forbidden(int error);

}  // namespace atd::client
