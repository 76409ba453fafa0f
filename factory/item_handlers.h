// Handlers that read and write factory items.
#pragma once

struct rzcmd_request;
struct rzcmd_response;

namespace atd {

// Reads a text item into out (its length and a terminator); 0, or -1 when the store fails.
int tav_factory_serial_number_read(char* out);     // 13 bytes
int tav_factory_msn_read(char* out);               // 17 bytes
int tav_factory_manufacture_date_read(char* out);  // 17 bytes
int tav_factory_csn_read(char* out);               // 17 bytes

// Writes the factory serial number, at most 12 characters; 0, or -1 when the store fails.
int tav_factory_serial_number_write(const char* text);

// "2" asks for the charger-skip flag, and the result itself is the flag, 1 or 0. Any other number sets it, with result
// 0 even when it cannot be stored. A flag that cannot be read is 0 and logged. A text that is not a number is refused
// with result 1.
void handle_charger_skip(const char* data, rzcmd_response* rsp);

// The download mode: "on" or another text that begins with "o" is stored (8 bytes of data); anything else is refused
// with result 1. Reading answers the stored text, or "off".
void handle_set_dload_mode(rzcmd_request* req, rzcmd_response* rsp);
void handle_get_dload_mode(rzcmd_response* rsp);

// Writes the WLAN MAC address that the text's first 12 digits give. The empty text answers the address as text. Result
// 1 on any failure.
void handle_automid_mac(const char* text, rzcmd_response* rsp);

// Answer an item as text, result 1 when it cannot be read; an empty serial number reads "0".
void handle_get_serial_number(rzcmd_response* rsp);
void handle_get_msn(rzcmd_response* rsp);
void handle_get_manuf_date(rzcmd_response* rsp);
void handle_get_csn(rzcmd_response* rsp);
void handle_get_set_revision(rzcmd_response* rsp);
void handle_get_sku(rzcmd_response* rsp);
void handle_get_sw_fixed_area_version(rzcmd_response* rsp);
void handle_get_image_name(rzcmd_response* rsp);

// Answer an item as it is stored, result 1 when it cannot be read.
void handle_get_ldaf_cal(rzcmd_response* rsp);        // 10 bytes
void handle_get_image_status(rzcmd_response* rsp);    // 1 byte
void handle_get_image_secno(rzcmd_response* rsp);     // 4 bytes
void handle_read_flex_gpio_sum(rzcmd_response* rsp);  // 4 bytes

// Stores the first four payload bytes as the GPIO sum; result 1 when they cannot be stored.
void handle_write_flex_gpio_sum(rzcmd_request* req, rzcmd_response* rsp);

// Stores a text, cut at 512 bytes, as the sniff download configuration; result 1 when it cannot be stored.
void handle_sniff_config(const char* data, rzcmd_response* rsp);

// Answers the hidden-menu extension as a decimal text; result 1 when it cannot be read.
void handle_get_hiddenmenu_enable(rzcmd_response* rsp);

// The wine IME flag as one byte, 255 when it cannot be read, always with result 0.
void handle_get_wine_ime(rzcmd_response* rsp);

// Stores the first payload byte as the wine IME flag; result 1 when it cannot be stored.
void handle_set_wine_ime(rzcmd_request* req, rzcmd_response* rsp);

}  // namespace atd
