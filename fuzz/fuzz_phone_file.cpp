// Makes a phone from any text. One that is made boots, and what can stand in its export makes a phone again.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "simulator/phone_file/phone_file.h"
#include "simulator/simulated_device.h"

namespace {

[[noreturn]] void give_up(const std::string& why) {
  fprintf(stderr, "%s\n", why.c_str());
  abort();
}

// Gives the export of the phone of a text, "" for a text that makes none.
std::string made_and_exported(const std::string& text, const std::string& folder, std::string* error) {
  std::vector<atd::sim::Fault> faults;
  std::vector<std::string> left_out;
  std::string result, wrong;
  if (!atd::sim::import_phone(text, "fuzz", folder, &faults, error)) return "";
  {
    const auto device = atd::sim::SimulatedDevice::open(folder, &wrong);
    if (!device || !atd::sim::export_phone(*device, &result, &left_out, &wrong)) give_up(wrong);
  }
  std::filesystem::remove_all(folder);
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string folder = [] {
    char memory[] = "/dev/shm/atd-fuzz-XXXXXX", disk[] = "/tmp/atd-fuzz-XXXXXX";
    const std::string made = mkdtemp(memory) ? memory : mkdtemp(disk);
    setenv("TMPDIR", made.c_str(), 1);
    atexit([] { std::filesystem::remove_all(getenv("TMPDIR")); });
    return made + "/phone";
  }();
  std::string error;
  const std::string text = made_and_exported({reinterpret_cast<const char*>(data), size}, folder, &error);
  if (text.empty()) return 0;
  if (made_and_exported(text, folder, &error).empty()) give_up(error + "\n" + text);
  return 0;
}
