#include "daemon/boot.h"

#include "atd.h"

namespace atd {

void boot() {
  init_factory_item(0);
  init_modem_interface(0);
  imei_check_on_boot();
  meid_check_on_boot();
  xboot_data_init();
  init_socket();
}

void finish_reset() {
  // A reset that was not wiped yet is not gone on with: who has asked for it asks again.
  const int status = get_factory_status();
  if (status >= 3 && status <= 5) sfactoryreset();
}

}  // namespace atd
