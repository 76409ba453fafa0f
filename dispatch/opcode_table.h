// Every service opcode, one row each: the list that the dispatcher, the client, its help and completion, the manual
// page and the fuzz dictionary are made from.
#pragma once

#include <stddef.h>

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
  kDestructive = 1,  // restarts the phone, or changes or erases what cannot be read back
  kModem = 2,        // needs the modem
};

// Whether a row is built.
enum class State {
  built,
  unsupported,  // not on this device: always answered with result 2
  not_built,    // not in this build yet: answered with result 2
};

// What runs a request: a function of the shape that the row's payload wants, or none where the row is not built.
struct Handler {
  enum class Shape {
    none,
    answer,  // payload none
    text,    // payload text, optional or number
    record,  // payload bytes
  };

  constexpr Handler(decltype(nullptr)) : shape(Shape::none), answer(nullptr) {}
  constexpr Handler(void (*function)(rzcmd_response* rsp)) : shape(Shape::answer), answer(function) {}
  constexpr Handler(void (*function)(const char* text, rzcmd_response* rsp)) : shape(Shape::text), text(function) {}
  constexpr Handler(void (*function)(rzcmd_request* req, rzcmd_response* rsp))
      : shape(Shape::record), record(function) {}

  Shape shape;
  union {
    void (*answer)(rzcmd_response* rsp);
    void (*text)(const char* text, rzcmd_response* rsp);
    void (*record)(rzcmd_request* req, rzcmd_response* rsp);
  };
};

struct Opcode {
  int number;
  const char* name;
  Payload payload;
  Answer answer;
  unsigned effects;
  State state;
  Handler handler;
  const char* summary;  // what the request does, one sentence
};

// All rows, by ascending number.
class Opcodes {
 public:
  constexpr Opcodes(const Opcode* rows, size_t count) : rows_(rows), count_(count) {}
  constexpr const Opcode* begin() const { return rows_; }
  constexpr const Opcode* end() const { return rows_ + count_; }
  constexpr size_t size() const { return count_; }
  constexpr const Opcode& operator[](size_t i) const { return rows_[i]; }

 private:
  const Opcode* rows_;
  size_t count_;
};
Opcodes opcodes();

// The row of an opcode, or null.
const Opcode* find_opcode(int number);

// The row of a name, or null.
const Opcode* find_opcode(const char* name);

// The words for a row's columns: "text", "result", "built"...
const char* to_text(Payload payload);
const char* to_text(Answer answer);
const char* to_text(State state);

}  // namespace atd
