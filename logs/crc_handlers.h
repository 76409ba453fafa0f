// Handlers of the CRC commands.
#pragma once

struct rzcmd_response;

namespace atd {

// Answer what a CRC command answers, "0x" and the CRC; "ERROR" with result 1 when it fails. The last one also writes
// the dumps of files and phone status.
void handle_get_code_crc(rzcmd_response* rsp);
void handle_get_nv_crc(rzcmd_response* rsp);
void handle_get_file_crc(rzcmd_response* rsp);
void handle_get_file_dump(rzcmd_response* rsp);

// Stores the selection of the CRC wizard, the first character of a number; result 1 when it cannot be stored, or the
// text is no number.
void handle_crcwizard_set(const char* data, rzcmd_response* rsp);

// Answers the selection's digit, or the empty text where none is stored; result 1 when it cannot be read.
void handle_crcwizard_get(rzcmd_response* rsp);

}  // namespace atd
