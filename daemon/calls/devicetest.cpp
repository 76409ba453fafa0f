// The automatic test, its results, files for a host.
#include <string.h>

#include "daemon/calls/row.h"

namespace atd {

namespace {

// A token a line.
int split(const char* text, char* tokens) {
  char places[64][129] = {};
  char* out[64];
  for (int i = 0; i < 64; ++i) out[i] = places[i];
  const int result = parsing_str_by_comma(out, text);
  int last = 63;
  while (last >= 0 && places[last][0] == '\0') --last;
  for (int i = 0; i <= last; ++i) strcat(strcat(tokens, i == 0 ? "" : "\n"), places[i]);
  return result;
}

int take_file(int type, const char* path, unsigned* size, char* data, int* length) {
  file_cmd_reply reply = {};
  const int result = get_file_command(type, path, &reply);
  *size = reply.size;
  *length = static_cast<int>(reply.length);
  memcpy(data, reply.data, sizeof reply.data);
  return result;
}

unsigned take_data(char* data, int* length) {
  const unsigned got = get_file_data(data);
  *length = static_cast<int>(got);
  return got;
}

int write_device(const char* path, long long offset, const void* bytes, unsigned length) {
  return device_write(path, offset, length, bytes);
}

}  // namespace

std::vector<Row> devicetest_calls() {
  return {
      {FUNCTION(read_aatset), "set", zero, "Reads the set of the automatic test."},
      {FUNCTION(write_aatset), "SET", zero, "Stores a set."},
      {FUNCTION(aat_full), "", zero, "Stores the full set in the stored order."},
      {FUNCTION(get_aatset_by_xml), "set", zero, "Tells the device's default set."},
      {FUNCTION(get_test_item_offset), "ITEM", any,
       "Tells the place of a test item's group in the default set, 96 for none."},
      {FUNCTION(savePartialAATSet), "SET", one, "Keeps a partial set."},
      {FUNCTION(isSamePartialSet), "SET", any, "Tells whether a set is the partial set that is kept: 1, else 0."},
      {FUNCTION(resetTestResult), "", zero, "Marks the results of a partial set to be run again.", kDestroys},
      {FUNCTION(check_selfd_result), "", value, "Tells the self-diagnosis result."},
      {FUNCTION(check_selfd_E_result), "", value, "Tells the self-diagnosis result of the second stage."},
      {FUNCTION(reset_selfd_result), "SET NEW_SET", any,
       "Tells whether a change of the set voids the self-diagnosis: 1, else 0."},
      {FUNCTION(get_nfc_feature_from_property), "", any, "Tells whether the device has NFC: 1, else -10."},
      {FUNCTION(get_fmradio_feature_from_property), "", any, "Tells whether there is an FM radio: 1, -1 none, or 0."},
      {FUNCTION(get_fmradio_feature_from_version), "MODEL", zero, "Logs the product and the model."},
      {FUNCTION(get_dtv_feature_from_version), "MODEL", zero, "Logs the product and the model."},
      {FUNCTION(read_aatorder), "order", zero, "Reads the order of the automatic test."},
      {FUNCTION(get_this_order), "PLACE item", zero, "Tells the test item at a place of the order, from 0."},
      {FUNCTION(write_aatorder), "ORDER", zero, "Stores an order and puts the set into it."},
      {"parsing_str_by_comma", split, "TEXT tokens", zero, "Splits a list at its commas."},

      {FUNCTION(aat_result_init), "DATA result", any, "Reads (\"1\") or stores (\"2\" and the text) the result."},
      {FUNCTION(aat_result_read), "result", any, "Reads the result."},
      {FUNCTION(aat_result_write), "RESULT outcome", any, "Stores a result."},
      {FUNCTION(get_devicetest_result), "", value, "Tells the verdict of the device test."},
      {FUNCTION(set_devicetest_result_init), "", zero, "Clears the results of the device test.", kDestroys},
      {FUNCTION(aat_subdivided_result_write), "TEST RESULT", zero,
       "Writes one test's result (1, 0, else 2) to the misc partition.", kDestroys},
      {FUNCTION(aat_subdivided_result_write_to_integrated_result), "TEST RESULT", zero,
       "Writes one test's result (1, 0, else 2) into the integrated one, in the misc partition.", kDestroys},
      {FUNCTION(saat_result_get), "result", zero, "Tells the beginning of the SAAT result."},
      {FUNCTION(midauto_status_set), "STATUS:1", zero, "Stores the MID automatic test's status character."},
      {FUNCTION(midauto_status_get), "status:1", zero, "Tells the MID automatic test's status character."},
      {FUNCTION(write_recondition_status), "STATUS", zero, "Writes the recondition status."},
      {FUNCTION(fpenable), "ON", zero, "Switches the fingerprint sensor on (1) or off (0)."},
      {FUNCTION(spi_test), "test", zero, "Tests the fingerprint sensor's bus."},
      {FUNCTION(zone_test), "test", zero, "Tests the fingerprint sensor's zones."},
      {FUNCTION(checkerboard_test), "test", zero, "Tests the fingerprint sensor with a checkerboard."},
      {FUNCTION(rubberstamp_test), "test", zero, "Tests the fingerprint sensor with a rubber stamp."},
      {FUNCTION(get_touch_version), "version:70#", zero, "Reads the touch firmware's version."},
      {FUNCTION(touch_version_compare), "EXPECTED", zero,
       "Compares the touch firmware's version; EXPECTED's last character does not count."},
      {FUNCTION(touch_atoi), "TEXT", any, "Reads the decimal number that a text begins with."},
      {"get_file_command", take_file, "TYPE PATH size data:2048#", zero, "Opens (0), reads (1) or closes (2) a file.",
       kInDaemon},
      {FUNCTION(get_file_length), "PATH", size, "Takes a file into memory for get_file_data and tells its size."},
      {"get_file_data", take_data, "data:2048#", any, "Tells the next bytes of the file of get_file_length.",
       kInDaemon},
      {FUNCTION(save_file), "PATH DATA#", zero, "Writes a file.", kDestroys},
      {FUNCTION(midauto_sdcheck), "", zero, "Starts the MID test tool from the SD card, after 20 seconds."},
      {"device_write", write_device, "PATH OFFSET DATA#", zero, "Writes bytes into a partition.", kDestroys},
  };
}

}  // namespace atd
