// A row of the table of functions: {FUNCTION(name), "ARGUMENTS", success, "Sentence.", effects}.
//
// ARGUMENTS has a name for each parameter. The caller gives those in upper case, the function those in lower case:
// an `int` or `char` in upper case, an `int*` or `unsigned char*` in lower case, a text or bytes in either.
// clang-format off
//   TEXT     a text                     text     a text that ends at its NUL
//   DATA#    any bytes, whose number    data:20# bytes, whose number is the next parameter, too; there is room for 20
//            is the next parameter,
//            which needs no name
//   DATA:20  at most 20 bytes, filled   data:20  20 bytes, shown without the NULs behind them
//            up with NULs
//   DATA*6   6 bytes                    data*6   6 bytes, shown in hex
//                                       -        nothing: the function does not use it
// clang-format on
#pragma once

#include <limits>
#include <type_traits>
#include <utility>

#include "atd.h"
#include "daemon/calls.h"

namespace atd {

// What stands for a parameter while its function runs.
struct Slot {
  long long number = 0;
  std::string bytes;
  int word = 0;  // a number that the function gives
  FpTestResult test = {};
};

enum class Kind { number, character, text, told_number, test };

struct ParameterType {
  Kind kind;
  long long lowest, highest;  // of a number; `lowest` tells of one that is told whether it has a sign
};

template <typename T>
constexpr bool is_text() {
  using Target = std::remove_cv_t<std::remove_pointer_t<T>>;
  return std::is_same_v<Target, char> || std::is_void_v<Target> || std::is_same_v<T, const unsigned char*>;
}

template <typename T>
constexpr ParameterType type_of() {
  if constexpr (std::is_same_v<T, char>) return {Kind::character, 0, 0};
  else if constexpr (std::is_integral_v<T>)
    return {Kind::number, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
  else if constexpr (is_text<T>()) return {Kind::text, 0, 0};
  else if constexpr (std::is_same_v<T, FpTestResult*>) return {Kind::test, 0, 0};
  else return {Kind::told_number, std::numeric_limits<std::remove_pointer_t<T>>::min(), 0};
}

template <typename T>
T pass(Slot& slot) {
  if constexpr (std::is_same_v<T, char>) return slot.bytes[0];
  else if constexpr (std::is_integral_v<T>) return static_cast<T>(slot.number);
  else if constexpr (is_text<T>()) return static_cast<T>(static_cast<void*>(&slot.bytes[0]));
  else if constexpr (std::is_same_v<T, FpTestResult*>) return &slot.test;
  else return static_cast<T>(static_cast<void*>(&slot.word));
}

template <typename R, typename... A, size_t... i>
long long call_with(R (*function)(A...), [[maybe_unused]] Slot* slots, std::index_sequence<i...>) {
  if constexpr (std::is_void_v<R>) return function(pass<A>(slots[i])...), 0;
  else return static_cast<long long>(function(pass<A>(slots[i])...));
}

struct Row : Call {
  template <typename R, typename... A>
  Row(const char* name_, R (*function_)(A...), const char* arguments_, Success success_, const char* summary_,
      int effects_ = 0) {
    static constexpr ParameterType kTypes[] = {type_of<A>()..., {}};
    name = name_;
    arguments = arguments_;
    success = success_;
    summary = summary_;
    effects = effects_;
    takes_turns = false;
    has_result = !std::is_void_v<R>;
    types = kTypes;
    count = sizeof...(A);
    function = reinterpret_cast<void (*)()>(function_);
    invoke = [](void (*plain)(), Slot* slots) {
      return call_with(reinterpret_cast<R (*)(A...)>(plain), slots, std::index_sequence_for<A...>());
    };
  }
};

#define FUNCTION(name) #name, name

inline constexpr Success zero = Success::zero, one = Success::one, value = Success::value, size = Success::size,
                         any = Success::any;

// The room that a text gets whose row names none.
inline constexpr size_t kToldSize = 64 * 1024;

// Copies a text that is told, as much as has room.
inline void put(const std::string& text, char* out) { out[text.copy(out, kToldSize - 1)] = '\0'; }

// The rows of each room.
std::vector<Row> channel_calls();
std::vector<Row> factory_calls();
std::vector<Row> storage_calls();
std::vector<Row> system_calls();
std::vector<Row> bluetooth_calls();
std::vector<Row> devicetest_calls();
std::vector<Row> logs_calls();
std::vector<Row> reset_calls();

}  // namespace atd
