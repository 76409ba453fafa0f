#include "daemon/boot.h"

#include "atd.h"

namespace atd {

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
  // A reset that was not wiped yet is not gone on with: who has asked for it asks again.
  const int status = get_factory_status();
  if (status >= 3 && status <= 5) sfactoryreset();
}

}  // namespace atd
