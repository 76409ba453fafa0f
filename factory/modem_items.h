// The identity and calibration records that the modem keeps.
#pragma once

#pragma GCC visibility push(default)

// Sends data (at most 2048 bytes) as a record of the modem, or asks for one; its answer in rsp (2048 bytes), the number
// of bytes in *rsp_len, which may be null. 0, or the error of request_to_system; 1 without a request when data or rsp
// is null.
int write_tav_impl(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_impl(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_bcpl(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_bcpl(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_idde(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_otpe(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_fusg(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_fusg(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_cdbe(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_bcpe(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_pid2(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_pid2(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_btad(const char* data, int len, char* rsp, int* rsp_len);
int read_tav_btad(const char* data, int len, char* rsp, int* rsp_len);

// The same, but the first also takes a null data, and the second a null rsp.
int read_tav_pid(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_pid(const char* data, int len, char* rsp, int* rsp_len);

// The same for the IDDE record. Its erasure ("IDDE OK") also resets the Bluetooth address, the serial number, the
// operator list and the IMEI copy; 1 also when the address cannot be written.
int write_tav_idde(const char* data, int len, char* rsp, int* rsp_len);

// Asks for the MEID or the pseudo ESN; as above.
int read_tav_meid(char* rsp, int* rsp_len);
int read_tav_pesn(char* rsp, int* rsp_len);

// Writes or reads an IMEI by the modem's opcode for it; as above. An IMEI written with 116 is also kept as factory
// item 13.
int write_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len);
int read_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len);

// Puts the check digit of the first 14 digits at position 14 of imei (15 bytes). The first `length` characters
// are read as digits; any after those count by their codes.
void make_imei_chksum(char* imei, int length);

// Copies the modem's IMEI or MEID to its factory item when they differ; 0, or the error of request_to_system.
int imei_check_on_boot();
int meid_check_on_boot();

// Reads the product ID into buffer (2048 bytes, terminated); 0, 1 on failure, 2 when the modem does not support it and
// the factory item's copy was taken.
int read_pid(char* buffer);

// Writes the product ID to the modem and its factory item; 0, or 1 on failure, or the modem's error.
int write_pid(const char* text);

// Sends a SIM toolkit request, mode 0 or 1; 0, or the error of request_to_system; 1 without a request for another
// mode or a null pointer.
int tav_satpc_req(int mode, const char* data, int len, char* rsp, int* rsp_len);

// Asks how many SIMs there are, a digit as text; 0, 1 when the modem does not answer, 2 when the request is not known,
// or 1 without a request for a null pointer.
int tav_issim_req(const char* data, int len, char* rsp, int* rsp_len);

#pragma GCC visibility pop
