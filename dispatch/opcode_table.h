// Every service opcode, one row each: the list that the dispatcher, the client, its help and completion, the manual
// page and the fuzz dictionary are made from.
#pragma once

#include <span>

struct rzcmd_request;
struct rzcmd_response;

namespace atd {

// What a handler reads of the request.
enum class Payload {
  none,      // nothing
  text,      // a terminated text
  optional,  // a terminated text to write, or none to read
  number,    // a decimal number as text
  bytes,     // data_len raw bytes
};

// What the response carries on success.
enum class Answer {
  result,  // the result alone
  text,    // a text, data_len its length
  byte,    // one byte
  bytes,   // raw bytes
};

// What a request does beyond answering, for those who send it.
enum Effect : unsigned {
  kHarmless = 0,
  kDestructive = 1,  // restarts the phone, or changes or erases what cannot be read back
  kModem = 2,        // needs the modem
};

// How far a row is.
enum class State {
  built,
  unsupported,  // not on this device: always answered with result 2
  not_built,    // not in this build yet: answered with result 2
};

struct Opcode {
  int number;
  const char* name;
  Payload payload;
  Answer answer;
  unsigned effects;
  void (*handler)(rzcmd_request* req, rzcmd_response* rsp);
};

// All rows, by ascending number.
std::span<const Opcode> opcodes();

// The row of an opcode, or null.
const Opcode* find_opcode(int number);

// The row of a name, or null.
const Opcode* find_opcode(const char* name);

// How far a row is, as its handler tells.
State state(const Opcode& row);

// The words for a row's columns: "text", "result", "built"...
const char* to_text(Payload payload);
const char* to_text(Answer answer);
const char* to_text(State state);

}  // namespace atd
