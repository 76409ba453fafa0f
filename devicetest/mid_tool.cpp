#include <sys/stat.h>

#include "devicetest/mid_tool.h"
#include "platform/log.h"
#include "platform/os.h"
#include "storage/card.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// How long the card of a phone that boots may take.
constexpr uint64_t kCardWaitUs = 20000000;

bool exists(const char* path) {
  struct stat found;
  return stat(device_path(path), &found) == 0;
}

}  // namespace

int midauto_sdcheck() {
  os_sleep_us(kCardWaitUs);
  if (GetSDCardMountStatus() != 0) {
    SLOGE("[%s] GetSDCardMountStatus() : FAIL", __func__);
    return 0;
  }
  // The id goes into a command: read_uuid lets no character through that a shell knows.
  char id[92];
  if (read_uuid(id) != 0) {
    SLOGE("[%s] Error : read_uuid failed\n", __func__);
    return -1;
  }
  char folder[128], package[192], command[256];
  TextWriter(folder).format("/storage/%s/MID_AUTO", id);
  TextWriter(package).format("%s/MIDTestTool_1.0.1.apk", folder);
  if (!exists(folder) || !exists(package)) {
    SLOGE("[%s] Not Directory or File : FAIL", __func__);
    return 0;
  }
  TextWriter(command).format("pm install -r %s", package);
  const int installed = os_system(command);
  if (installed != 0) {
    SLOGE("[%s] apk install %d : %s", __func__, installed, package);
    return 1;
  }
  SLOGI("[%s] apk install %d : %s", __func__, installed, package);
  const int started = os_system("am start -n com.tav.midtesttool/.SkipStartUpWizard");
  if (started != 0) {
    SLOGE("[%s] apk execute.%d ", __func__, started);
    return 1;
  }
  SLOGI("[%s] apk execute.%d ", __func__, started);
  return 0;
}
