#include "devicetest/file_transfer.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "platform/log.h"
#include "platform/os.h"

using namespace atd;

static_assert(sizeof(file_cmd_reply) == 12 + FILE_CMD_DATA_SIZE, "hosts know the layout");

namespace {

enum FileCommand { kOpen = 0, kRead = 1, kClose = 2 };

uint8_t* g_image = nullptr;
uint32_t g_size = 0;
uint32_t g_position = 0;

void drop_image() {
  free(g_image);
  g_image = nullptr;
  g_size = 0;
  g_position = 0;
}

}  // namespace

int get_file_command(int type, const char* path, file_cmd_reply* reply) {
  SLOGI("get_file_command (type): %d\n", type);
  reply->type = static_cast<uint32_t>(type);
  reply->size = 0;
  reply->length = 0;
  switch (type) {
    case kOpen:
      reply->size = get_file_length(path);
      SLOGI("get_file_command : data size is %u.\n", reply->size);
      return reply->size == 0 ? -1 : 0;
    case kRead:
      reply->length = get_file_data(reply->data);
      reply->size = g_position;
      return 0;
    case kClose:
      reply->size = g_size;
      drop_image();
      return 0;
    default: return -1;
  }
}

uint32_t get_file_length(const char* path) {
  drop_image();
  FILE* file = fopen(device_path(path), "rbe");
  if (!file) {
    SLOGE("get_file_length : fp is NULL!\n");
    return 0;
  }
  // 64 bits, also on the phone.
  fseeko(file, 0, SEEK_END);
  const long long size = ftello(file);
  rewind(file);
  SLOGI("File size : %lld\n", size);
  if (size < 0 || size > UINT32_MAX) {
    SLOGE("get_file_length : a file of %lld bytes does not fit a reply", size);
    fclose(file);
    return 0;
  }
  // The size stays when there is no memory; then there is nothing to read.
  g_size = static_cast<uint32_t>(size);
  g_image = static_cast<uint8_t*>(malloc(g_size));
  if (!g_image) {
    if (g_size != 0) SLOGE("get_file_length : no memory for %u bytes", g_size);
  } else if (fread(g_image, 1, g_size, file) != g_size) {
    SLOGE("get_file_length : cannot read %u bytes of %s", g_size, path);
    drop_image();
  }
  fclose(file);
  return g_image ? g_size : 0;
}

uint32_t get_file_data(void* out) {
  if (!g_image) {
    SLOGE("get_file_data : Buffer is NULL!\n");
    return 0;
  }
  uint32_t length = g_size - g_position;
  if (length == 0) {
    SLOGI("get_file_data : Read size is 0!\n");
    return 0;
  }
  if (length > FILE_CMD_DATA_SIZE) length = FILE_CMD_DATA_SIZE;
  memcpy(out, g_image + g_position, length);
  g_position += length;
  return length;
}

int save_file(const char* path, const void* buf, unsigned n) {
  FILE* file = fopen(device_path(path), "wbe");
  if (!file) {
    SLOGE("save_file : fp is NULL!\n");
    return -1;
  }
  // A short write is logged, but the answer is the same.
  if (fwrite(buf, 1, n, file) != n) SLOGE("save_file : %s is cut", path);
  fclose(file);
  return 0;
}
