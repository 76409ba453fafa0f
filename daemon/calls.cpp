#include "daemon/calls.h"

#include <limits.h>
#include <string.h>

#include <memory>
#include <sstream>
#include <tuple>
#include <type_traits>

#include "atd.h"
#include "desk/words.h"

namespace atd {

namespace {

using sim::HostFunction;
using sim::HostOutcome;

// More than any function writes into a text.
constexpr size_t kOutSize = 64 * 1024;

// What a function's result says.
enum class Success {
  zero,   // 0 is success
  value,  // a value, negative for a failure
  any,    // a value, never a failure
};

// The words that were given, taken one by one.
struct Words {
  const std::vector<std::string>& words;
  size_t next = 0;

  const std::string& take() { return words.at(next++); }
};

// One argument of a function: taken from the words, or filled by the function and told afterwards.
template <typename T>
struct Argument;

template <>
struct Argument<const char*> {
  explicit Argument(Words& words) : text(words.take()) {}
  const char* get() { return text.c_str(); }
  void tell(std::string*) {}
  std::string text;
};

template <int lowest>
struct Number {
  explicit Number(Words& words) {
    const std::string& word = words.take();
    if (read_number(word, lowest, INT_MAX, &number)) return;
    throw sim::BadArgument{"\"" + word + "\" is not a number from " + std::to_string(lowest) + " to " +
                           std::to_string(INT_MAX)};
  }
  int get() { return number; }
  void tell(std::string*) {}
  int number = 0;
};

template <>
struct Argument<int> : Number<INT_MIN> {
  using Number::Number;
};

template <>
struct Argument<unsigned> : Number<0> {
  using Number::Number;
};

template <>
struct Argument<char*> {
  explicit Argument(Words&) : text(new char[kOutSize]()) {}
  char* get() { return text.get(); }
  void tell(std::string* out) { out->append(text.get(), strnlen(text.get(), kOutSize)); }
  std::unique_ptr<char[]> text;
};

// The length of the text before it, which says it, too.
template <>
struct Argument<int*> {
  explicit Argument(Words&) {}
  int* get() { return &number; }
  void tell(std::string*) {}
  int number = 0;
};

template <>
struct Argument<FpTestResult*> {
  explicit Argument(Words&) {}
  FpTestResult* get() { return &found; }
  void tell(std::string* out) {
    *out += "isPass " + std::to_string(found.isPass) + ", result " + std::to_string(found.result);
  }
  FpTestResult found = {};
};

// A row: the words that the function takes, the function, and what it does.
template <typename R, typename... A>
HostFunction row(const char* name, R (*function)(A...), const char* arguments, const char* summary,
                 Success success = Success::zero) {
  const auto run = [=](const std::vector<std::string>& given) {
    [[maybe_unused]] Words words{given};
    std::tuple<Argument<A>...> holders{Argument<A>(words)...};
    HostOutcome outcome;
    std::apply(
        [&](auto&... holder) {
          if constexpr (std::is_void_v<R>) function(holder.get()...);
          else outcome.result = static_cast<long long>(function(holder.get()...));
          (holder.tell(&outcome.out), ...);
        },
        holders);
    outcome.failed = success == Success::zero ? outcome.result != 0 : success == Success::value && outcome.result < 0;
    return outcome;
  };
  return {name, arguments, summary, run};
}

#define FUNCTION(name, ...) row(#name, name, __VA_ARGS__)

}  // namespace

std::vector<HostFunction> library_functions() {
  return {
      FUNCTION(read_aatset, "", "Reads the set of the automatic test."),
      FUNCTION(write_aatset, "SET", "Stores a set."),
      FUNCTION(read_aatorder, "", "Reads the order of the automatic test."),
      FUNCTION(write_aatorder, "ORDER", "Stores an order and puts the set into it."),
      FUNCTION(aat_full, "", "Stores the full set in the stored order."),
      FUNCTION(get_devicetest_result, "", "Tells the verdict of the device test.", Success::value),
      FUNCTION(set_devicetest_result_init, "", "Clears the results of the device test."),
      FUNCTION(aat_subdivided_result_write, "TEST RESULT", "Writes the result of one test into the misc partition."),
      FUNCTION(midauto_sdcheck, "", "Starts the MID test tool from the SD card, after 20 seconds."),
      FUNCTION(write_recondition_status, "STATUS", "Writes the recondition status."),
      FUNCTION(rubberstamp_test, "", "Tests the fingerprint sensor with a rubber stamp."),
      FUNCTION(get_touch_version, "", "Reads the touch firmware's version."),

      FUNCTION(read_uuid, "", "Reads the SD card's volume id."),
      FUNCTION(get_sdcard_path, "", "Tests the SD card and tells its folder."),
      FUNCTION(IsSDCardInserted, "", "Tells whether there is an SD card."),
      FUNCTION(GetSDCardMountStatus, "", "Tells whether the SD card is mounted."),
      FUNCTION(SetSDCardMount, "", "Mounts the SD card."),
      FUNCTION(SetSDCardUnMount, "", "Unmounts the SD card."),
      FUNCTION(mmc_emt, "", "Tests the SD card by writing and reading."),
      FUNCTION(mmc_sdcheck, "", "Writes, reads and removes a file on the SD card."),
      FUNCTION(mmc_dummysdcheck, "", "Tells whether the slot reports a card that is not there: 0 then, else 1."),
      FUNCTION(mmc_mmctotalsize, "", "Tells the SD card's size in KiB."),
      FUNCTION(mmc_mmcusedsize, "", "Tells the bytes that files take on the SD card."),
      FUNCTION(mmc_mmccheckcontents, "", "Checks that the SD card has its default contents alone."),
      FUNCTION(mmc_mmcfactoryformat, "", "Deletes all but the default contents from the SD card."),
      FUNCTION(mmc_mmcformat, "", "Formats the SD card."),
      FUNCTION(mmc_storage_isufs, "", "Tells whether the internal storage is UFS: 1, else 0.", Success::any),
      FUNCTION(mmc_emmccapacity, "", "Tells the size of the internal eMMC in MiB."),
      FUNCTION(mmc_ufscapacity, "", "Tells the size of the internal UFS in MiB."),
      FUNCTION(recursive_dir_check, "PATH", "Tells the bytes of a file, or of all files below a folder.",
               Success::value),
      FUNCTION(get_fs_size, "DEVICE", "Tells the size of the file system on a block device, 0 for none.", Success::any),
      FUNCTION(ram_memory_size, "", "Tells the size of the RAM in MiB.", Success::any),
      FUNCTION(do_scsi_command_read, "FIELD", "Logs the UFS device's \"vendor\" or firmware \"level\"."),
  };
}

}  // namespace atd
