// Handlers that read and write modem items. Each answers result 1 when the modem does not answer.
#pragma once

#include "platform/records.h"

namespace atd {

// Writes the IMEI, with the check digit added to one of 14 digits; result 1 when the modem refuses it. The empty text
// answers the IMEI.
void handle_automid_imei(const char* text, rzcmd_response* rsp);

// Writes the payload as the IMEI and answers the modem's text.
void handle_write_imei(rzcmd_request* req, rzcmd_response* rsp);

// Answers the IMEI. Of 256 bytes or more, only the first 255 are in data, with data_len 0 and result 0.
void handle_read_imei(rzcmd_response* rsp);

// Answer the second and third IMEI of a phone with several SIMs.
void handle_midauto_read_imei2(rzcmd_response* rsp);
void handle_midauto_read_imei3(rzcmd_response* rsp);

// Answers the MEID; result 0 even when it cannot be read.
void handle_read_meid(rzcmd_response* rsp);

// Answer a record as the modem keeps it.
void handle_read_pesn(rzcmd_response* rsp);
void handle_get_impl(rzcmd_response* rsp);
void handle_get_fusg(rzcmd_response* rsp);

// Send the SIM toolkit request of mode 0 or 1 and answer the modem's text.
void handle_sim_satpc_0(rzcmd_response* rsp);
void handle_sim_satpc_1(rzcmd_response* rsp);

}  // namespace atd
