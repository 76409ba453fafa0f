// Handlers of the automatic test and its relatives.
#pragma once

struct rzcmd_response;

namespace atd {

// "1" answers the result string, "2" and a result string stores that; result 0 whatever becomes of it.
void handle_aat_result(const char* data, rzcmd_response* rsp);

// "1" sets the factory boot flag and restarts the phone into the image of the device test; result 1 when the flag
// cannot be set and for any other text, 4 where the phone has no such image.
void handle_devicetest_start(const char* data, rzcmd_response* rsp);

// Store the set and the order; result 1 when they are refused, or not given.
void handle_aatset_write(const char* data, rzcmd_response* rsp);
void handle_aat_orderset_write(const char* data, rzcmd_response* rsp);

// Restarts the phone into the automatic test, whatever the text is; result 1 when that cannot be started.
void handle_aat_write_start(const char* data, rzcmd_response* rsp);

// Answer the result value of a fingerprint sensor test; result 1 when the test fails.
void handle_fp_spi_test(rzcmd_response* rsp);
void handle_fp_zone_test(rzcmd_response* rsp);
void handle_fp_checkboard_test(rzcmd_response* rsp);

// The SAAT result: the first 31 characters are answered, at most 128 are stored. Result 1 when the store fails.
void handle_get_saat_result(rzcmd_response* rsp);
void handle_set_saat_result(const char* data, rzcmd_response* rsp);

// The MID automatic test's result, at most 128 characters. Storing it also sets the status to "4", and answers the
// text; the result is 1 when it cannot be read, and -1 when it cannot be stored.
void handle_get_midauto_result(rzcmd_response* rsp);
void handle_set_midauto_result(const char* data, rzcmd_response* rsp);

// Answer one of the four CRCs of the MID automatic test, at most 10 characters; result 1 when they cannot be read.
void handle_get_midauto_crc_0(rzcmd_response* rsp);
void handle_get_midauto_crc_1(rzcmd_response* rsp);
void handle_get_midauto_crc_2(rzcmd_response* rsp);
void handle_get_midauto_crc_3(rzcmd_response* rsp);

}  // namespace atd
