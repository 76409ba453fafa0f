#include "factory/modem_channel.h"

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "channel/modem_records.h"
#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/diagpkt.h"
#include "platform/log.h"
#include "platform/records.h"

using namespace atd;

namespace {

NvPacket* allocate(unsigned code, int item) {
  NvPacket* packet = static_cast<NvPacket*>(diagpkt_alloc(code, sizeof(NvPacket)));
  if (!packet) return nullptr;
  *packet = {static_cast<uint8_t>(code), static_cast<uint16_t>(item), {}, 0};
  return packet;
}

// Sends one packet and fills *answer; 0 with the number of answered bytes, or -1 or a status byte.
int exchange(int opcode, unsigned code, int item, const char* data, NvPacket* answer, int* length) {
  NvPacket* request = allocate(code, item);
  NvPacket* answered = allocate(code, item);
  int error = -1;
  if (request && answered) {
    if (data) memcpy(request->data, data, kNvDataSize);
    char bytes[MAX_RZCMD_REQ_SIZE];
    error = get_tav_data_from_modem(opcode, reinterpret_cast<char*>(request), sizeof *request, bytes, length);
    // The answer is the data and the status byte; more than that is not an answer to this packet.
    if (error != 0 || *length > kNvDataSize + 1) error = kNvFailed;
    else memcpy(answered->data, bytes, static_cast<size_t>(*length));
    *answer = *answered;
  }
  diagpkt_free(request);
  diagpkt_free(answered);
  return error;
}

}  // namespace

int send_modem_data(const char* data, int length) {
  SLOGI("send_modem_data(%d)\n", length);
  SLOGI("MAX_RZCMD_REQ_SIZE(%d)\n", MAX_RZCMD_REQ_SIZE);
  if (length < 0 || !data) return RZCMD_FAIL;
  // The receiver takes the first chunk shorter than the others for the end, so there is always one, if need be empty.
  for (int left = length; left >= 0; left -= kBulkChunk) {
    int error =
        request_to_system(kBulkSend, data + (length - left), std::min(left, kBulkChunk), nullptr, nullptr, nullptr);
    if (error != 0) {
      SLOGE("send_modem_data. Return error:%d\n", error);
      return error;
    }
  }
  return 0;
}

int receive_modem_data(char* buffer, int* length) {
  if (!buffer || !length) return RZCMD_FAIL;
  for (int position = 0;;) {
    char chunk[MAX_RZCMD_REQ_SIZE] = {};
    int size = 0;
    int error = request_to_system(kBulkReceive, nullptr, 0, chunk, &size, nullptr);
    // A longer chunk is not one of this channel.
    if (error == 0 && size > kBulkChunk) error = RZCMD_FAIL;
    if (error != 0) {
      SLOGE("receive_modem_data Return error:%d\n", error);
      return error;
    }
    SLOGI("receive_modem_data(), rsp_len = %d\n", size);
    memcpy(buffer + position, chunk, static_cast<size_t>(size));
    *length += size;
    SLOGI("receive_modem_data(), buffer_size = %d\n", *length);
    if (*length == 0 && size == 0) return RZCMD_FAIL;
    if (size < kBulkChunk) return 0;
    position += size;
    SLOGI("receive_modem_data(), cur_ptr = %d\n", position);
  }
}

int get_tav_data_from_modem(int opcode, const char* request, int length, char* response, int* response_length) {
  if (length > MAX_RZCMD_REQ_SIZE || !request || !response || !response_length) return -1;
  return request_to_system(opcode, request, length, response, response_length, nullptr);
}

int tav_diag_nvread(int item, char* data) {
  if (!data || item < 0 || item > UINT16_MAX) return RZCMD_FAIL;
  NvPacket answer;
  int length = 0;
  int error = exchange(kNvRead, kNvReadCode, item, nullptr, &answer, &length);
  if (error != 0) return error;
  if (length == 0) return kNvInactive;
  memcpy(data, answer.data, kNvDataSize);
  return answer.status;
}

int tav_diag_nvwrite(int item, const char* data) {
  if (!data || item < 0 || item > UINT16_MAX) return RZCMD_FAIL;
  NvPacket answer;
  int length = 0;
  int error = exchange(kNvWrite, kNvWriteCode, item, data, &answer, &length);
  return error != 0 ? error : answer.status;
}
