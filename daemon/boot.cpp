#include "daemon/boot.h"

#include "atd.h"
#include "platform/properties.h"

namespace atd {

namespace {

bool is_set(const char* property) {
  char value[PROPERTY_VALUE_MAX] = "";
  system_property_get(property, value);
  return value[0] == '1';
}

}  // namespace

void boot() {
  init_factory_item(0);
  get_qem();
  init_modem_interface(0);
  system_set_env_property();
  imei_check_on_boot();
  meid_check_on_boot();
  xboot_data_init();
  init_socket();
}

void resume() {
  retry_power_off_with_cable();
  const int status = get_factory_status();
  // At 0 to 2 the wipe was not handed over; only a new request starts the reset again. In a special boot, 3 and 4 stay.
  const bool waits = (status == 3 || status == 4) && !is_set("ro.minios.bootstart") && !is_set("ro.fwx.bootstart");
  if (waits || status == 5) sfactoryreset();
}

}  // namespace atd
