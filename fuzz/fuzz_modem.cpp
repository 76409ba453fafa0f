// Stands in for the modem's library and gives hostile answers to everything that makes a request. The input begins with
// which that is and its argument; answers follow.
#include <stdint.h>

#include <algorithm>
#include <vector>

#include "dispatch/opcode_table.h"
#include "dispatch/service_handler.h"
#include "factory/modem_channel.h"
#include "fuzz/fuzz_phone.h"
#include "platform/modem_interface.h"
#include "platform/records.h"

namespace {

const uint8_t* g_data;
size_t g_size;

std::string take(size_t size) {
  size = std::min(size, g_size);
  std::string bytes(reinterpret_cast<const char*>(g_data), size);
  g_data += size;
  g_size -= size;
  return bytes;
}

uint8_t take_byte() {
  const std::string byte = take(1);
  return byte.empty() ? 0 : static_cast<uint8_t>(byte[0]);
}

int32_t take_word() {
  int32_t word = 0;
  const std::string bytes = take(sizeof word);
  memcpy(&word, bytes.data(), bytes.size());
  return word;
}

void check(bool good) {
  if (!good) abort();
}

using Exchange = int (*)(const char*, int, char*, int*);
constexpr Exchange kExchanges[] = {
    write_tav_idde,
    [](const char* data, int size, char* out, int* length) { return write_tav_imei(116, data, size, out, length); },
    [](const char* data, int size, char* out, int* length) {
      return get_tav_data_from_modem(9, data, size, out, length);
    },
    [](const char*, int, char* out, int*) { return read_pid(out); },
    [](const char* data, int, char*, int*) { return write_pid(data); },
    [](const char*, int, char*, int*) { return imei_check_on_boot(); },
    [](const char* data, int, char*, int*) { return campreq(atoi(data)); },
    [](const char* data, int, char* out, int*) {
      std::string argument = data;
      char* arguments[] = {argument.data(), argument.data()};
      return campreq(arguments, 2, out);
    },
    [](const char* data, int, char*, int*) { return tav_reset_production(atoi(data)); },
    [](const char* data, int size, char*, int*) { return send_modem_data(data, size); },
    [](const char* data, int, char*, int*) { return efs_open(data, 0, 0); },
    [](const char* data, int, char*, int*) { return efs_unlink(data); },
    [](const char*, int size, char*, int*) { return efs_close(size); },
    [](const char* data, int size, char*, int*) {
      const int put = efs_write(3, data, size);
      check(put >= 0 && put <= size);
      return put;
    },
    [](const char*, int size, char*, int*) {
      std::vector<char> bytes(static_cast<size_t>(size) * 32);
      const int got = efs_read(3, bytes.data(), static_cast<int>(bytes.size()));
      check(got >= 0 && got <= static_cast<int>(bytes.size()));
      return got;
    },
    [](const char*, int, char*, int*) {
      // An answer takes at least one byte of the input, and an answer without any fails.
      std::unique_ptr<char[]> bytes(new char[(g_size + 1) * 255]);
      int length = 0;
      return receive_modem_data(bytes.get(), &length);
    },
    [](const char*, int size, char*, int*) {
      std::unique_ptr<char[]> bytes(new char[128]());
      return tav_diag_nvread(size, bytes.get()) | tav_diag_nvwrite(size, bytes.get());
    },
};

}  // namespace

int dmi_init(int) { return take_byte() & 1; }

int request_to_modem_via_dmi(rzcmd_request*, rzcmd_response* response) {
  const unsigned head = take_byte();
  if (g_size == 0 || head & 1) return -1;
  memset(response, head & 128 ? 'x' : 0, sizeof *response);
  const size_t size = take_byte() | (head & 0x70) << 4;
  response->result = head & 2 ? take_word() : 0;
  response->data_len = head & 4 ? take_word() : static_cast<int32_t>(size);
  response->result_status = head & 8 ? take_word() : 0;
  take(size).copy(response->data, sizeof response->data);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static atd::FuzzPhone phone;
  g_size = 0;
  init_modem_interface(0);
  g_data = data, g_size = size;
  const size_t which = take_byte();
  const std::string argument = take(take_byte());
  if (which < std::size(kExchanges)) {
    std::unique_ptr<char[]> out(new char[MAX_RZCMD_REQ_SIZE]);
    int length = 0;
    kExchanges[which](argument.c_str(), static_cast<int>(argument.size()), out.get(), &length);
    check(length >= -1 && length <= MAX_RZCMD_REQ_SIZE);
  } else {
    rzcmd_request req = {};
    rzcmd_response rsp = {};
    const atd::Opcodes rows = atd::opcodes();
    req.opcode = rows[which % rows.size()].number;
    req.data_len = static_cast<int32_t>(argument.copy(req.data, sizeof req.data));
    atd::service_handler(&req, &rsp);
    check(rsp.data_len >= 0 && rsp.data_len <= MAX_RZCMD_REQ_SIZE);
  }
  phone.settle();
  return 0;
}
