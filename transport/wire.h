// The words and codes of the daemon's socket. A client sends lines, a command word and an argument; the daemon sends
// messages, a code and a text.
#pragma once

#include <stddef.h>

namespace atd {

// The bytes of the buffer that the daemon reads into; a read leaves one byte for a terminator.
inline constexpr size_t kReadBufferSize = 16383;

// The longest line that the daemon takes, in bytes without its NUL: what has no end in the same read is dropped.
inline constexpr size_t kLineMax = kReadBufferSize - 2;

// The command words.
inline constexpr char kCommandWord[] = "atcommand";
inline constexpr char kResponseWord[] = "atresponse";
inline constexpr char kRequestWord[] = "atsrequest";

// The arguments of "atcommand": kInitializeArgument is a whole argument, the other argument begins with kAdcArgument.
inline constexpr char kInitializeArgument[] = "initialize";
inline constexpr char kAdcArgument[] = "adc";

// Codes of messages.
enum MessageCode {
  kCopyCode = 200,      // a copy of the message just before
  kAnswerCode = 210,    // the answer to a service request
  kRefusedCode = 500,   // to the sender alone: the line was not understood
  kReadyCode = 601,     // the daemon has seen "initialize"
  kStoppedCode = 602,   // the daemon stops
  kPlatformCode = 605,  // an AT command, or a request of the daemon's own, for the platform
  kTakenCode = 610,     // the daemon has taken the platform's answer
};

}  // namespace atd
