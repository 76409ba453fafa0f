#include "devicetest/test_results.h"

#include <stdio.h>
#include <string.h>

#include "devicetest/misc_partition.h"
#include "devicetest/stored_text.h"
#include "factory/item_registry.h"
#include "platform/log.h"
#include "platform/os.h"
#include "text/number.h"

using namespace atd;

namespace {

constexpr size_t kResultSize = 31;
constexpr int kNoResult = -2;

// Where the misc partition has a byte for each test, in bytes from its start.
constexpr long long kSubdividedResults = 0x2F800 + 2;
constexpr long long kIntegratedResults = 0x30800 + 2;

int write_result_byte(const char* function, long long results, unsigned index, int result) {
  const char byte = result == 1 ? '1' : result == 0 ? '0' : '2';
  const int error = device_write(kMiscPartition, results + index, sizeof byte, &byte);
  if (error < 0) {
    SLOGE("[%s] saveResult_qr save error! at %d : %d", function, static_cast<int>(index + 2), error);
    return -1;
  }
  SLOGI("[%s] saveResult_qr save at %d : %d", function, static_cast<int>(index + 2), result);
  return 0;
}

// Reads an item, or logs that it could not be read.
template <size_t size>
bool read_or_log(const FactoryItem& item, char (&text)[size], const char* failure) {
  if (read_stored(item, text) == 0) return true;
  SLOGE("%s", failure);
  return false;
}

// Reads the result that counts under this set. False when there is none; then *verdict is what to answer.
bool find_result(const char* set, char (&result)[kResultSize + 1], int* verdict) {
  *verdict = -1;
  if (strchr(set, '0') && strchr(set, '1')) {
    if (!read_or_log(item<7>, result, "fail to get partial result")) return false;
    *verdict = kNoResult;
    if (result[0] == '\0' || result[1] == '\0') return false;
    SLOGI("get_devicetest_result, partial result[31] = %s\n", result);
    return true;
  }
  char menu[kResultSize + 1];
  if (!read_or_log(item<29>, menu, "fail to get AFT Menu result")) return false;
  if (menu[0] == '0') {
    SLOGI("get_devicetest_result1, AFT Menu result[31] = %s\n", menu);
    SLOGI("get_devicetest_result2, AFT Menu result[31] = %s\n", menu);
    *verdict = 0;
    return false;
  }
  if (!read_or_log(item<5>, result, "fail to get full result")) return false;
  *verdict = kNoResult;
  if (result[0] == '\0' && menu[0] == '\0') return false;
  SLOGI("get_devicetest_result, full result[31] = %s\n", result);
  return true;
}

}  // namespace

void aat_result_init(const char* data, char* out) {
  switch (data[0]) {
    case '1': return aat_result_read(out);
    case '2': return aat_result_write(data + 1, out);
    default: SLOGE("aat_result_init : invaild header value = %c", data[0]);
  }
}

void aat_result_read(char* out) {
  if (read_stored(item<5>, out, kResultSize + 1) != 0) SLOGE("aat_result_read error");
}

void aat_result_write(const char* data, char* out) {
  if (!data) {
    SLOGE("aat_result_write, data is null");
    return;
  }
  char result[kResultSize] = {};
  memcpy(result, data, strnlen(data, sizeof result));
  if (write_item(item<5>, result) < 0) {
    SLOGE("aat_result_write, set_ftm_item fail");
    return;
  }
  SLOGI("aat_result_write, set_ftm_item success");
  constexpr char kSuccess[] = "aat_result_write, success";
  memcpy(out, kSuccess, sizeof kSuccess);
}

int get_devicetest_result() {
  char set[kStoredTextSize], result[kResultSize + 1];
  if (!read_or_log(item<17>, set, "fail to get aatset")) return -1;
  int verdict;
  if (!find_result(set, result, &verdict)) return verdict;
  if (!strchr(set, '4')) {
    SLOGI("manual mode complete check only UI test\n");
    return is_digit(result[0]) ? result[0] - '0' : kNoResult;
  }

  SLOGI("manual mode complete check with self_d test\n");
  char self_d[item<45>.length + 1], self_de[item<95>.length + 1];
  if (!read_or_log(item<45>, self_d, "fail to get self_d result")) return -1;
  SLOGI("get_devicetest_result, self_d result = %s\n", self_d);
  if (!read_or_log(item<95>, self_de, "fail to get self_de result")) return -1;
  SLOGI("get_devicetest_result, self_de result = %s\n", self_de);
  char diagnosis = self_d[0];
  if (self_de[0] == '0' || self_de[0] == '1') {
    SLOGI("H2.0 tested");
    diagnosis = self_de[0];
  }
  return is_digit(result[0]) && is_digit(diagnosis) ? diagnosis - '0' + (result[0] - '0') : kNoResult;
}

int set_devicetest_result_init() {
  const char zeros[kResultSize] = {};
  if (write_item(item<7>, zeros) >= 0 && write_item(item<29>, zeros) >= 0 && write_item(item<5>, zeros) >= 0) return 0;
  SLOGE("set_devicetest_result_init, cannot clear the results");
  return -1;
}

int aat_subdivided_result_write(unsigned index, int result) {
  return write_result_byte(__func__, kSubdividedResults, index, result);
}

int aat_subdivided_result_write_to_integrated_result(unsigned index, int result) {
  SLOGI("[%s] Write selfde result to selfde integrated result forcibly", __func__);
  return write_result_byte(__func__, kIntegratedResults, index, result);
}

int saat_result_get(char* out) {
  char result[item<212>.length + 1];
  if (read_stored(item<212>, result) != 0) {
    SLOGE("[%s] cannot read the saat result", __func__);
    return 1;
  }
  SLOGI("[%s] saat result in misc : %s", __func__, result);
  memcpy(out, result, kResultSize);
  out[kResultSize] = '\0';
  return 0;
}

int midauto_status_set(const char* c) {
  if (write_item(item<252>, c) < 0) {
    SLOGE("cannot write the midauto status");
    return 1;
  }
  SLOGI("midauto status to misc : %c", *c);
  return 0;
}

int midauto_status_get(char* c) {
  if (read_item(item<252>, c) < 0) {
    SLOGE("cannot read the midauto status");
    return 1;
  }
  SLOGI("midauto status in misc : %c", *c);
  return 0;
}

int write_recondition_status(const char* status) {
  SLOGI("recondition status: %s", status);
  FILE* file = fopen(device_path("/persist-rz/wdctime/recondition"), "wbe");
  if (!file) {
    SLOGE("cannot open the recondition status");
    return 1;
  }
  const size_t length = strnlen(status, 32);
  const bool written = fwrite(status, 1, length, file) == length && fflush(file) == 0;
  const int error = ferror(file);
  fclose(file);
  if (!written) {
    SLOGE("fwrite failed : ferror=%d write", error);
    return 1;
  }
  SLOGI("recondition status is saved successfully.");
  return 0;
}
