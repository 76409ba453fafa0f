// The texts of the CRC commands.
#pragma once

#include <stddef.h>

namespace atd {

// Room for what a CRC worker tells.
inline constexpr size_t kCrcTextSize = 20;

// Room for what a command answers: "0x" and that.
inline constexpr size_t kCrcAnswerSize = kCrcTextSize + 2;

// Asks the platform and puts its answer as text into out (kCrcTextSize bytes), cut there; 0, or the error of
// request_to_system with the empty text.
int request_crc_text(int opcode, char* out);

}  // namespace atd
