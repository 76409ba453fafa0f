#include "devicetest/devicetest_handlers.h"

#include <string.h>
#include <sys/stat.h>

#include "devicetest/fingerprint.h"
#include "devicetest/stored_text.h"
#include "devicetest/test_order.h"
#include "devicetest/test_results.h"
#include "devicetest/test_set.h"
#include "factory/item_registry.h"
#include "factory/items.h"
#include "platform/fingerprint.h"
#include "platform/log.h"
#include "platform/os.h"
#include "system/power.h"
#include "text/number.h"
#include "text/text_writer.h"
#include "transport/response.h"

namespace atd {

namespace {

constexpr int kNoImage = 4;

// An item of 128 bytes from a payload, padded with NULs.
struct Payload128 {
  explicit Payload128(const char* data) { memcpy(text, data, strnlen(data, 128)); }
  char text[128 + 1] = {};
};

void answer_sensor_test(int (*test)(FpTestResult* result), rzcmd_response* rsp) {
  FpTestResult found = {};
  if (test(&found) != 0) return respond(rsp, RZCMD_FAIL);
  char text[16];
  TextWriter(text).format("%d", found.result);
  respond_text(rsp, text);
}

void answer_midauto_crc(int index, rzcmd_response* rsp) {
  constexpr int kLength = 10;
  char list[item<253>.length];
  if (get_midauto_crc_list(list) != 0) {
    SLOGE("handle_get_midauto_crc: cannot read the list");
    return respond(rsp, RZCMD_FAIL);
  }
  char text[kLength + 1] = {};
  memcpy(text, list + index * kLength, kLength);
  respond_text(rsp, text);
}

}  // namespace

void handle_aat_result(const char* data, rzcmd_response* rsp) {
  char result[32] = "";
  aat_result_init(data, result);
  respond_text(rsp, result);
  SLOGI("handle_aat_result, result : %d, rsp_len : %d, response : %s", rsp->result, rsp->data_len, rsp->data);
}

void handle_devicetest_start(const char* data, rzcmd_response* rsp) {
  int number;
  if (!parse_number(data, &number) || number != 1) {
    SLOGE("handle_devicetest_start: \"%s\" is not 1", data);
    return respond(rsp, RZCMD_FAIL);
  }
  if (set_qem(1) != 0) {
    SLOGE("handle_devicetest_start: cannot set the factory boot flag");
    return respond(rsp, RZCMD_FAIL);
  }
  const int status = get_factory_status();
  if (status != 0 && status != 5 && status != 6) {
    const int error = set_factory_status(6);
    SLOGI("handle_devicetest_start change frst 6, ret = %d\n", error);
  }
  struct stat image;
  if (stat(device_path("/cache/minios"), &image) != 0 || !S_ISDIR(image.st_mode)) {
    SLOGE("minios image does not exist.\n");
    return respond(rsp, kNoImage);
  }
  SLOGI("minios image verification success\n");
  if (system_restart() != 0) set_qem(0);
  respond(rsp, RZCMD_OK);
}

void handle_aatset_write(const char* data, rzcmd_response* rsp) {
  SLOGI("service_handler: AAT SET WRITE = %s\n", data);
  const Payload128 set(data);
  SLOGI("AAT SET WRITE : %s", set.text);
  respond(rsp, write_aatset(set.text));
}

void handle_aat_orderset_write(const char* data, rzcmd_response* rsp) {
  SLOGI("service_handler: AAT ORDERSET WRITE = %s\n", data);
  const Payload128 order(data);
  SLOGI("NEW AATORDER: %s\n", order.text);
  respond(rsp, write_aatorder(order.text));
}

void handle_aat_write_start(const char*, rzcmd_response* rsp) {
  respond(rsp, system_aat() == 0 ? RZCMD_OK : RZCMD_FAIL);
}

void handle_fp_spi_test(rzcmd_response* rsp) { answer_sensor_test(spi_test, rsp); }
void handle_fp_zone_test(rzcmd_response* rsp) { answer_sensor_test(zone_test, rsp); }
void handle_fp_checkboard_test(rzcmd_response* rsp) { answer_sensor_test(checkerboard_test, rsp); }

void handle_get_saat_result(rzcmd_response* rsp) {
  char result[32];
  if (saat_result_get(result) != 0) return respond(rsp, RZCMD_FAIL);
  respond_text(rsp, result);
}

void handle_set_saat_result(const char* data, rzcmd_response* rsp) {
  const bool stored = set_saatresult(Payload128(data).text) == 0;
  if (!stored) SLOGE("handle_set_saat_result: cannot store the result");
  respond(rsp, stored ? RZCMD_OK : RZCMD_FAIL);
}

void handle_get_midauto_result(rzcmd_response* rsp) {
  char result[item<251>.length + 1] = {};
  if (get_midauto_result(result) != 0) {
    SLOGE("handle_get_midauto_result: cannot read the result");
    return respond(rsp, RZCMD_FAIL);
  }
  respond_text(rsp, result);
}

void handle_set_midauto_result(const char* data, rzcmd_response* rsp) {
  const Payload128 result(data);
  const int status = set_midauto_result(result.text);
  if (status != 0) SLOGE("handle_set_midauto_result: cannot store the result");
  midauto_status_set("4");
  respond_text(rsp, result.text, status);
}

void handle_get_midauto_crc_0(rzcmd_response* rsp) { answer_midauto_crc(0, rsp); }
void handle_get_midauto_crc_1(rzcmd_response* rsp) { answer_midauto_crc(1, rsp); }
void handle_get_midauto_crc_2(rzcmd_response* rsp) { answer_midauto_crc(2, rsp); }
void handle_get_midauto_crc_3(rzcmd_response* rsp) { answer_midauto_crc(3, rsp); }

}  // namespace atd
