#include "daemon/boot.h"

#include "atd.h"

namespace atd {

void boot() {
  init_factory_item(0);
  init_modem_interface(0);
  imei_check_on_boot();
  meid_check_on_boot();
  init_socket();
}

}  // namespace atd
