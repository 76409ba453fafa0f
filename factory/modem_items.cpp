#include "factory/modem_items.h"

#include <stdint.h>
#include <string.h>

#include <algorithm>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "factory/items.h"
#include "platform/log.h"
#include "platform/os.h"
#include "platform/properties.h"
#include "platform/records.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

constexpr int kPidSize = 30;

int request(int opcode, const char* data, int length, char* response, int* response_length) {
  return request_to_system(opcode, data, length, response, response_length, nullptr);
}

int ask(int opcode, const char* data, int length, char* response, int* response_length) {
  if (!data || !response) return RZCMD_FAIL;
  return request(opcode, data, length, response, response_length);
}

int answer_only_request(int opcode, char* response, int* response_length) {
  return response ? request(opcode, nullptr, 0, response, response_length) : RZCMD_FAIL;
}

// Writes the modem's record to a factory item of `size` bytes when they differ.
template <size_t size>
void mirror(const char* record, int length, int (*get)(char*), int (*set)(const char*)) {
  char fresh[size] = {};
  char kept[size] = {};
  memcpy(fresh, record, std::min(static_cast<size_t>(length), size));
  get(kept);
  if (memcmp(fresh, kept, std::min(static_cast<size_t>(length), size)) != 0) set(fresh);
}

}  // namespace

int write_tav_impl(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kImplWrite, data, len, rsp, rsp_len);
}
int read_tav_impl(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kImplRead, data, len, rsp, rsp_len);
}
int write_tav_bcpl(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kBcplWrite, data, len, rsp, rsp_len);
}
int read_tav_bcpl(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kBcplRead, data, len, rsp, rsp_len);
}
int read_tav_idde(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kIddeRead, data, len, rsp, rsp_len);
}
int write_tav_otpe(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kOtpeWrite, data, len, rsp, rsp_len);
}
int write_tav_fusg(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kFusgWrite, data, len, rsp, rsp_len);
}
int read_tav_fusg(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kFusgRead, data, len, rsp, rsp_len);
}
int write_tav_cdbe(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kCdbeWrite, data, len, rsp, rsp_len);
}
int write_tav_bcpe(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kBcpeWrite, data, len, rsp, rsp_len);
}
int write_tav_pid2(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kPid2Write, data, len, rsp, rsp_len);
}
int read_tav_pid2(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kPid2Read, data, len, rsp, rsp_len);
}
int write_tav_btad(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kBtadWrite, data, len, rsp, rsp_len);
}
int read_tav_btad(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kBtadRead, data, len, rsp, rsp_len);
}

int read_tav_pid(const char* data, int len, char* rsp, int* rsp_len) {
  return rsp ? request(kPidRead, data, len, rsp, rsp_len) : RZCMD_FAIL;
}

int write_tav_pid(const char* data, int len, char* rsp, int* rsp_len) {
  return data ? request(kPidWrite, data, len, rsp, rsp_len) : RZCMD_FAIL;
}

int read_tav_meid(char* rsp, int* rsp_len) { return answer_only_request(kMeidRead, rsp, rsp_len); }
int read_tav_pesn(char* rsp, int* rsp_len) { return answer_only_request(kPesnRead, rsp, rsp_len); }

int tav_satpc_req(int mode, const char* data, int len, char* rsp, int* rsp_len) {
  if (mode != 0 && mode != 1) return RZCMD_FAIL;
  return ask(mode == 1 ? kSatpcMode1 : kSatpcMode0, data, len, rsp, rsp_len);
}

int tav_issim_req(const char* data, int len, char* rsp, int* rsp_len) {
  return ask(kSimCountOpcode, data, len, rsp, rsp_len);
}

int write_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len) {
  constexpr char kWritten[] = "IMEI WRITE OK";
  constexpr int kWrittenLength = sizeof kWritten - 1;
  if (!data || !rsp) return RZCMD_FAIL;
  int answered = 0;
  int error = request(opcode, data, len, rsp, &answered);
  if (rsp_len) *rsp_len = answered;
  if (error != 0) {
    SLOGE("Cannot get response. Return error:%d\n", error);
    return error;
  }
  if (opcode == kImeiWrite && answered >= kWrittenLength && memcmp(rsp, kWritten, kWrittenLength) == 0) {
    SLOGI("**SET FTM_ITEM - IMEI**\n");
    char imei[20] = {};
    memcpy(imei, data, std::min(static_cast<size_t>(bounded_length(len)), sizeof imei));
    set_imei_ftm_item(imei);
  }
  return 0;
}

int read_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len) {
  SLOGI("[READ IMEI]: id= %d", opcode);
  return ask(opcode, data, len, rsp, rsp_len);
}

void make_imei_chksum(char* imei, int length) {
  constexpr int kDigits = 14;
  int digits[16] = {};
  // Only the first `length` characters become values; the sum takes the others as they are.
  for (int i = 0; i <= kDigits && imei[i] != '\0'; ++i) digits[i] = i < length ? imei[i] - '0' : imei[i];
  int sum = 0;
  for (int i = 0; i < kDigits; ++i) {
    int value = digits[i];
    if (i % 2 == 1) value = value >= 5 ? 2 * value - 9 : 2 * value;
    sum += value;
  }
  imei[kDigits] = static_cast<char>('0' + (10 - sum % 10) % 10);
}

int imei_check_on_boot() {
  char imei[MAX_RZCMD_REQ_SIZE] = {};
  int length = 0;
  int error = read_tav_imei(kImeiRead, "", 0, imei, &length);
  if (error != 0) {
    SLOGE("Cannot get imei from nv. %d\n", error);
    return error;
  }
  mirror<20>(imei, length, get_imei_ftm_item, set_imei_ftm_item);
  return 0;
}

int meid_check_on_boot() {
  char meid[MAX_RZCMD_REQ_SIZE] = {};
  int length = 0;
  int error = read_tav_meid(meid, &length);
  if (error != 0) {
    SLOGE("Cannot get meid from nv. %d\n", error);
    return error;
  }
  mirror<20>(meid, length, get_meid_ftm_item, set_meid_ftm_item);
  return 0;
}

int read_pid(char* buffer) {
  if (!buffer) return RZCMD_FAIL;
  char answer[MAX_RZCMD_REQ_SIZE] = {};
  int length = 0;
  int error = request(kPidRead, "", 0, answer, &length);
  if (error == 0) {
    TextWriter(buffer, MAX_RZCMD_REQ_SIZE).bytes(answer, static_cast<size_t>(length));
    if (system_property_set("sys.lifeisgood", "1") != 0) {
      SLOGE("Fail to set pid property");
      return RZCMD_FAIL;
    }
    SLOGI("Set pid property OK");
    return 0;
  }
  if (error == kNotSupported) {
    SLOGI("read_pid: NOT SUPPORTED");
    if (get_pid(buffer) != 0) {
      SLOGE("Cannot get pid in FTM.\n");
      return RZCMD_FAIL;
    }
    buffer[kPidSize] = '\0';
  }
  SLOGE("Cannot get response. Return error:%d,rsp_len=%d\n", error, length);
  return error;
}

int write_pid(const char* text) {
  // A text longer than a request is refused before its length is cut to 16 bits.
  if (!text || strlen(text) > MAX_RZCMD_REQ_SIZE) return RZCMD_FAIL;
  int error = request(kPidWrite, text, static_cast<uint16_t>(strlen(text)), nullptr, nullptr);
  if (error == RZCMD_FAIL) {
    SLOGE("Cannot get response. Return error:%d\n", error);
    return RZCMD_FAIL;
  }
  SLOGI("[NV]write_pid ret=%d, & Deault save to FTM", error);
  char pid[kPidSize] = {};
  memcpy(pid, text, strnlen(text, sizeof pid));
  if (set_pid(pid) != 0) {
    SLOGE("Cannot set pid in FTM.\n");
    return RZCMD_FAIL;
  }
  return error;
}
