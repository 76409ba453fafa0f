#include "simulator/scsi.h"

#include <errno.h>
#include <scsi/scsi.h>
#include <scsi/sg.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

#include "simulator/files.h"

namespace atd::sim {

namespace {

constexpr unsigned char kInquirySize = 6;

std::string filled(std::string text, size_t size) {
  text.resize(size, ' ');
  return text;
}

void refuse(sg_io_hdr_t* io) {
  // Fixed format: illegal request, invalid command.
  const unsigned char sense[18] = {0x70, 0, 0x05, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x20};
  io->status = CHECK_CONDITION << 1;
  io->masked_status = CHECK_CONDITION;
  io->driver_status = 0x08;  // there is sense data
  io->info = SG_INFO_CHECK;
  io->resid = static_cast<int>(io->dxfer_len);
  io->sb_len_wr = std::min<unsigned char>(io->mx_sb_len, sizeof sense);
  if (io->sbp) memcpy(io->sbp, sense, io->sb_len_wr);
  else io->sb_len_wr = 0;
}

}  // namespace

void Scsi::set(const ScsiAnswer& answer) {
  std::lock_guard guard(lock_);
  answer_ = answer;
}

bool Scsi::ioctl(int fd, unsigned long request, void* argument, int* result) {
  struct stat asked, device;
  if (fstat(fd, &asked) != 0 || stat(resolve(root_, "/dev/sg3").c_str(), &device) != 0 ||
      asked.st_dev != device.st_dev || asked.st_ino != device.st_ino) {
    return false;
  }
  sg_io_hdr_t* io = static_cast<sg_io_hdr_t*>(argument);
  *result = -1;
  if (request != SG_IO) return errno = ENOTTY, true;
  if (io->interface_id != 'S') return errno = ENOSYS, true;
  *result = 0;
  io->status = io->masked_status = io->msg_status = io->sb_len_wr = 0;
  io->host_status = io->driver_status = 0;
  io->info = SG_INFO_OK;
  std::lock_guard guard(lock_);
  const unsigned char* command = io->cmdp;
  if (answer_.fails || io->cmd_len != kInquirySize || command[0] != INQUIRY || command[1] != 0 || command[2] != 0 ||
      io->dxfer_direction != SG_DXFER_FROM_DEV) {
    refuse(io);
    return true;
  }
  // A disk of this standard, with 31 bytes after the fifth.
  const std::string bytes = std::string("\0\0\6\2\37\0\0\2", 8) + filled(answer_.vendor, 8) +
                            filled(answer_.product, 16) + filled(answer_.revision, 4);
  const unsigned wanted = static_cast<unsigned>(command[3]) << 8 | command[4];
  const unsigned size = std::min({static_cast<unsigned>(bytes.size()), answer_.size, wanted, io->dxfer_len});
  memcpy(io->dxferp, bytes.data(), size);
  io->resid = static_cast<int>(io->dxfer_len - size);
  return true;
}

}  // namespace atd::sim
