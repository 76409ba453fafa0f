#include "storage/scsi.h"

#include <errno.h>
#include <fcntl.h>
#include <scsi/sg.h>
#include <stdint.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"

using namespace atd;

namespace {

// A standard INQUIRY and the texts in its answer, which have a fixed length and no terminator.
constexpr int kAnswerSize = 36;

struct Field {
  const char* name;
  int offset;
  int length;
};

constexpr Field kFields[] = {{"Vendor", 8, 8}, {"level", 32, 4}};

const Field* find_field(const char* arg) {
  if (!arg) return nullptr;
  for (const Field& field : kFields) {
    if (strcasecmp(field.name, arg) == 0) return &field;
  }
  return nullptr;
}

// Fills the answer; false, which is reported, when the device does not give it whole.
bool inquire(int fd, char (&answer)[kAnswerSize]) {
  uint8_t command[] = {0x12, 0, 0, 0, kAnswerSize, 0};
  uint8_t sense[32] = {};
  sg_io_hdr_t request = {};
  request.interface_id = 'S';
  request.dxfer_direction = SG_DXFER_FROM_DEV;
  request.cmd_len = sizeof command;
  request.cmdp = command;
  request.dxfer_len = kAnswerSize;
  request.dxferp = answer;
  request.mx_sb_len = sizeof sense;
  request.sbp = sense;
  request.timeout = 5000;  // ms
  if (os_ioctl(fd, SG_IO, &request) < 0 || (request.info & SG_INFO_OK_MASK) != SG_INFO_OK) {
    SLOGE("error while execute INQUIRY command\n");
    return false;
  }
  if (request.resid == 0) return true;
  SLOGE("length of request(%d) != length from response(%d)\n", kAnswerSize, kAnswerSize - request.resid);
  return false;
}

}  // namespace

int do_scsi_command_read(const char* arg) {
  char build_type[PROPERTY_VALUE_MAX];
  system_property_get("ro.build.type", build_type);
  if (strcmp(build_type, "user") == 0) {
    SLOGE("ufs firmware: do not read ufs firmware on user build\n");
    return 1;
  }
  SLOGI("do scsi command inquary arg: %s\n", arg ? arg : "");
  const Field* field = find_field(arg);
  if (!field) {
    SLOGE("ufs firmware: do not find arg\n");
    return 1;
  }
  const int fd = open(device_path("/dev/sg3"), O_RDWR | O_CLOEXEC);
  if (fd < 0) {
    SLOGE("ufs firmware : open device error : %s\n", strerror(errno));
    return 1;
  }
  char answer[kAnswerSize] = {};
  const bool answered = inquire(fd, answer);
  close(fd);
  if (!answered) return 1;
  SLOGI("ufs %s: %d %.*s\n", field->name, field->length, field->length, answer + field->offset);
  return 0;
}
