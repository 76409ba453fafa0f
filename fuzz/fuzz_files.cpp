// Gives the phone text files and stored items with any content. The first byte says which.
#include <stdint.h>

#include <algorithm>

#include "factory/modem_channel.h"
#include "fuzz/fuzz_phone.h"
#include "platform/properties.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The first two are read at a boot.
  constexpr const char* kFiles[] = {
      "/system/build.prop", "/sim/boots",      "/sim/modem.conf", "/sim/input.conf", "/data/property/persist.sys.x",
      "/sim/items/13-20",   "/sim/modem/imei", "/sim/modem/bulk", "/sim/modem/nv_7"};
  static atd::FuzzPhone phone;
  if (size == 0) return 0;
  const size_t which = data[0] % std::size(kFiles);
  const std::string text(reinterpret_cast<const char*>(data) + 1, std::min<size_t>(size - 1, 4096));
  atd::sim::write_file(phone->root() + kFiles[which], text);
  if (which < 2) phone->reboot();
  std::unique_ptr<char[]> out(new char[8192]);
  int length = 0;
  property_get("persist.sys.x", out.get(), "");
  get_imei_ftm_item(out.get());
  read_tav_imei(117, "35", 2, out.get(), &length);
  send_key_native(116, 1);
  tav_diag_nvread(7, out.get());
  length = 0;
  receive_modem_data(out.get(), &length);
  phone.settle();
  return 0;
}
