// Gives the phone text files and stored items with any content, and reads them. The first byte says which.
#include <stdint.h>

#include <algorithm>
#include <iterator>

#include "factory/modem_channel.h"
#include "fuzz/fuzz_phone.h"
#include "platform/properties.h"

namespace {

char g_out[8192];
int g_length;

void read_property() { property_get("persist.sys.x", g_out, ""); }
void read_imei_item() { get_imei_ftm_item(g_out); }
void read_imei() { read_tav_imei(117, "35", 2, g_out, &g_length); }
void press_key() { send_key_native(116, 1); }
void receive() { receive_modem_data(g_out, &g_length); }
void read_numbered_item() { tav_diag_nvread(7, g_out); }

constexpr struct {
  const char* file;
  void (*read)();  // null: a boot reads it
} kFiles[] = {
    {"/system/build.prop", nullptr},
    {"/sim/boots", nullptr},
    {"/sim/modem.conf", read_imei},
    {"/sim/input.conf", press_key},
    {"/data/property/persist.sys.x", read_property},
    {"/sim/items/13-20", read_imei_item},
    {"/sim/modem/imei", read_imei},
    {"/sim/modem/bulk", receive},
    {"/sim/modem/nv_7", read_numbered_item},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  if (size == 0) return 0;
  const auto& row = kFiles[data[0] % std::size(kFiles)];
  const std::string text(reinterpret_cast<const char*>(data) + 1, std::min<size_t>(size - 1, 4096));
  atd::sim::write_file(phone->root() + row.file, text);
  g_length = 0;
  row.read ? row.read() : phone->reboot();
  phone.settle();
  return 0;
}
