// The entry points of the AT-command daemon's library: what a host daemon may call, and all that the shared library
// exports. Texts are terminated; a buffer is the caller's, and holds at least the bytes named with it.
#pragma once

#include <pthread.h>

#pragma GCC visibility push(default)

// --- The socket -----------------------------------------------------------------------------------------------------

// Serves the local socket "atd" on a thread of its own; 0. Ends the process with status 1 when that cannot be.
int init_socket();

// Tells the clients that the daemon ends, and stops serving.
void stop_socket();

// --- Diagnostic tty -------------------------------------------------------------------------------------------------

// Blocks (any value but 0) or unblocks the diagnostic tty for whoever reads it.
void set_diag_tty_block(int block);

// 1 while the diagnostic tty is blocked, else 0: its reader asks before it reads.
int diag_tty_blocked();

// --- Requests to the modem and the platform -------------------------------------------------------------------------

// Opens the modem interface with a client handle; its status, 0 when it is ready.
int init_modem_interface(int arg);

// Asks the modem (opcodes 0 to 971) or the platform service (1000 to 4414, on any thread but the socket's own, waiting
// at most 10 seconds) with at most 2048 bytes of data. 0 with the answer's bytes in out_data (2048 bytes), their number
// in *out_len and its status word in *out_status; 1 when there was no answer, 2 for any other opcode, else the
// answer's error. A failure sets *out_len to -1 when out_data is given, too. Every pointer may be null.
int request_to_system(int opcode, const char* data, int len, char* out_data, int* out_len, int* out_status);

// --- Keys and touch -------------------------------------------------------------------------------------------------

// Asks the platform for a key by number: pressed and released; pressed, held for `hold` times 100 ms and released;
// released, or with `release` 0 pressed. 0, or the error of request_to_system.
int SendKey(char key);
int SendKey(char key, int hold);
int SendKey(int release, char key);

// Clicks the key of an AT keypad character, given as its code in decimal ("35" is '#'); number 0 for one without a key.
// 0, or the error of request_to_system.
int ckpd_send_event(char* text);

// Fills the AT keypad table, and the test-mode table, which it returns: 256 key numbers by character code.
void ckpd_mapping();
int* testmode_key_mapping();

// The test-mode key number of a code, 0 where there is none.
int keypad_change_keycode(int code);

// Writes a key event (status 1 pressed, 0 released) to the first input device that has the key; always 0.
int send_key_native(int scancode, int status);

// Touches the screen at x, y, all in decimal: mode 0 and 5 release, 1 and 4 press, 2 tap, 3 double tap; the fourth text
// is not read. 0, or -1 when there is no touch device or no such mode or a write failed. The device stays open until
// the next touch.
int ctsa_send_event(char* mode, char* x, char* y, char* unused);

// Writes the supported touch modes to out (12 bytes); 0.
int ctsa_support_list(char* out);

// Writes one press or release, or one event, to an open touch device; 0, or -1 when the last write was short.
int report_event(int fd, int press, int x, int y);
int send_event(int fd, unsigned short type, unsigned short code, int value);

// --- Modem items ----------------------------------------------------------------------------------------------------

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

// The same, where data (of the first) or rsp (of the second) may be null.
int read_tav_pid(const char* data, int len, char* rsp, int* rsp_len);
int write_tav_pid(const char* data, int len, char* rsp, int* rsp_len);

// The same for the IDDE record, whose erasure ("IDDE OK") also resets the Bluetooth address, the serial number, the
// operator list and the IMEI copy; 1 as well when the address cannot be written.
int write_tav_idde(const char* data, int len, char* rsp, int* rsp_len);

// Asks for the MEID or the pseudo ESN; as above.
int read_tav_meid(char* rsp, int* rsp_len);
int read_tav_pesn(char* rsp, int* rsp_len);

// Writes or reads an IMEI by the modem's opcode for it; as above. An IMEI written with 116 is kept as factory item 13,
// too.
int write_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len);
int read_tav_imei(int opcode, const char* data, int len, char* rsp, int* rsp_len);

// Puts the check digit of the first 14 digits at position 14 of imei (15 bytes); `length` of them are read.
void make_imei_chksum(char* imei, int length);

// Copies the modem's IMEI or MEID to its factory item when they differ; 0, or the error of request_to_system.
int imei_check_on_boot();
int meid_check_on_boot();

// Reads the product ID into buffer (2048 bytes, terminated); 0, 1 on failure, 2 when the modem does not support it and
// the factory item's copy was taken.
int read_pid(char* buffer);

// Writes the product ID to the modem and its factory item; 0, or 1 on failure, or the modem's error.
int write_pid(const char* text);

// Sends a SIM toolkit request, mode 0 or 1; 0, or the error of request_to_system, 1 for another mode.
int tav_satpc_req(int mode, const char* data, int len, char* rsp, int* rsp_len);

// Sends bulk data in chunks of 255 bytes; 0, 1 for a negative length, or the error of request_to_system.
int send_modem_data(const char* data, int length);

// Receives bulk data into buffer, which holds all that the modem has, and adds its size to *length, which the caller
// has set to 0; 0, 1 when there is none, or the error of request_to_system.
int receive_modem_data(char* buffer, int* length);

// Reads or writes the 128 bytes of a numbered item of the modem; 0, 1 for a null pointer, -1 without memory, 4 when the
// modem does not answer, 5 when the item is inactive, or the modem's own status.
int tav_diag_nvread(int item, char* data);
int tav_diag_nvwrite(int item, const char* data);

// A modem request of at most 2048 bytes with its answer in response (2048 bytes); 0, -1 for a longer one or a null
// pointer, or the error of request_to_system.
int get_tav_data_from_modem(int opcode, const char* request, int length, char* response, int* response_length);

// Asks the modem to camp on a band (4 to 94, others are left alone with 0); 0 when it camps, 2 when it does not or does
// not answer.
int campreq(int band);

// Asks the modem to camp by arguments, joined by commas, with its answer in response (2048 bytes); 0, or the error of
// request_to_system.
int campreq(char** arguments, int count, char* response);

// Runs a production reset by kind: 0 first production, 1 its check, 2 start day check, 3 and 4 start day init and set,
// 100 return, 101 brand, 102 service return, 103 refurbish, 104 its check; 0 when the modem confirms, 1 when it does
// not, -1 for another kind, or the error of request_to_system.
int tav_reset_production(int kind);

// --- The modem's file system ----------------------------------------------------------------------------------------

// Open and close the modem interface for a client handle; 0, or the interface's error.
int efs_init(int client);
int efs_release(int client);

// Opens a file by a path of at most 128 characters, longer ones are cut, with the modem's flags and mode; the modem's
// descriptor, negative on failure. 0 may also mean that the modem did not answer.
int efs_open(const char* path, int flags, int mode);

// Close a descriptor, remove a file; the modem's result, negative on failure.
int efs_close(int fd);
int efs_unlink(const char* path);

// Read and write `count` bytes in chunks of 2032; the number of bytes done. A short chunk does not end a read, and the
// bytes after it keep their place in the buffer.
int efs_read(int fd, void* buffer, int count);
int efs_write(int fd, const void* buffer, int count);

// --- Bluetooth ------------------------------------------------------------------------------------------------------

// Stores the Bluetooth address, 12 hexadecimal digits, and has it loaded; 0, or 1 for another text or when the store
// fails.
int handle_testmode_bt_write_request(const char* text);

// --- Restart --------------------------------------------------------------------------------------------------------

// Writes the modem's and the phone's file systems out and restarts the phone one second later, on a thread of its own;
// 0, or -1 when the modem's file system could not be written or there is no thread.
int system_restart();

// Writes the modem's file system out; 0, or -1.
int system_efs_sync();

// --- Synchronisation ------------------------------------------------------------------------------------------------

// A mutex; failures are logged.
class Mutex {
 public:
  Mutex();
  ~Mutex();
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;
  void lock();
  void unlock();
  bool tryLock();  // true when taken
  pthread_mutex_t* nativeHandle() { return &mutex_; }

 private:
  pthread_mutex_t mutex_;
};

// A condition variable on the monotonic clock; failures are logged.
class CondVar {
 public:
  CondVar();
  ~CondVar();
  CondVar(const CondVar&) = delete;
  CondVar& operator=(const CondVar&) = delete;
  void wait(Mutex& mutex);
  bool wait(Mutex& mutex, long ms);  // at most that many milliseconds; true when woken, false on time-out or failure
  void notifyOne();

 private:
  pthread_cond_t condition_;
};

// --- Factory items --------------------------------------------------------------------------------------------------

// The QEM flag (factory boot) as it was last read or written.
extern int qem_get_status;

// Opens the factory item store; 0, or -1.
int init_factory_item(int arg);

// Byte flags: a getter returns the byte, 0..255, or -1 when the store fails; a setter stores the value's low byte and
// returns 0, or -1.
int get_factory_status();
int set_factory_status(int value);  // writes the trace, too; 3 also removes the locale and agreement files
int get_qem();  // on success also in qem_get_status
int set_qem(int value);  // on success also in qem_get_status
int get_charger_skip();
int set_charger_skip(int value);
int get_frst_running();
int set_frst_running(int value);
int get_workfrstmodeon_status();
int set_workfrstmodeon_status(int value);
int get_wine_ime();
int set_wine_ime(int value);
int get_hiddenMenu_extension();
int set_hiddenMenu_extension(int value);
int set_lcd_break_mode(int value);
int get_testmode();
int set_testmode(int value);
int get_mfts_status();
int get_radiation_result();
int set_radiation_result(int value);
int get_fsg_wp_enable();
int set_fsg_wp_enable(int value);
int get_use_fsg();
int set_use_fsg(int value);
int get_use_fsg_count();
int set_use_fsg_count(int value);
int get_fsg_wp_status();
int set_fsg_wp_status(int value);
int get_ship_mode_status();
int set_ship_mode_status(int value);
int get_scan_dm0_enable();
int set_scan_dm0_enable(int value);
int get_scan_dm0_status();
int set_scan_dm0_status(int value);
int get_copy_preload_status();
int set_copy_preload_status(int value);

// Whole items: the buffer has the item's length, given in bytes; 0, or -1 when the store fails. A text is padded with
// NULs, and a full one has no terminator. The items marked "clears" are filled with zeros first.
int get_pid(char* buffer);  // 30
int set_pid(const char* buffer);  // 30
int get_lcd_cal_data(char* buffer);  // 4
int set_lcd_cal_data(const char* buffer);  // 4
int get_dload_factory_reset_flag_ftm_item(char* buffer);  // 1
int set_dload_factory_reset_flag_ftm_item(const char* buffer);  // 1
int get_imei_ftm_item(char* buffer);  // 20
int set_imei_ftm_item(const char* buffer);  // 20
int get_sw_version_ftm_item(char* buffer);  // 70
int set_sw_version_ftm_item(const char* buffer);  // 70
int get_sw_original_version_ftm_item(char* buffer);  // 70
int set_sw_original_version_ftm_item(const char* buffer);  // 70
int get_aatset(char* buffer);  // 128
int set_aatset(const char* buffer);  // 128, clears
int get_diag_enable_status_from_misc(char* buffer);  // 512
int set_diag_enable_status_to_misc(const char* buffer);  // 512
int get_aat_test_order(char* buffer);  // 128
int set_aat_test_order(const char* buffer);  // 128, clears
int get_sw_fixed_area_version_ftm_item(char* buffer);  // 50
int set_sw_fixed_area_version_ftm_item(const char* buffer);  // 50
int get_buyer_item(char* buffer);  // 8
int set_buyer_item(const char* buffer);  // 8
int get_set_revision(char* buffer);  // 10
int set_set_revision(const char* buffer);  // 10
int get_selfd_result(char* buffer);  // 64
int get_pre_selfde_enable(char* buffer);  // 8
int get_sniff_download_config(char* buffer);  // 512
int set_sniff_download_config(const char* buffer);  // 512
int get_sdcard_download_path(char* buffer);  // 512
int set_sdcard_download_path(const char* buffer);  // 512
int get_meid_ftm_item(char* buffer);  // 20
int set_meid_ftm_item(const char* buffer);  // 20
int get_ldaf_cal_ftm_item(char* buffer);  // 10
int get_saatresult(char* buffer);  // 128
int set_saatresult(const char* buffer);  // 128, clears
int get_midauto_result(char* buffer);  // 128
int set_midauto_result(const char* buffer);  // 128, clears
int get_midauto_crc_list(char* buffer);  // 40; a positive result of the store is a failure here
int set_midauto_crc_list(const char* buffer);  // 40, clears
int get_gpio_sum(char* buffer);  // 4
int set_gpio_sum(const char* buffer);  // 4
int get_os_upgrade_flag_ftm_item(char* buffer);  // 10, always terminated
int set_os_upgrade_flag_ftm_item(const char* buffer);  // 10

// Stores whether self-diagnosis runs before the test, as a digit character; 0, or -1.
int set_pre_selfde_enable(int value);

// The CRC wizard's state, one digit character without a terminator; a value of more digits keeps its first. 0, or -1.
int get_crcwizard(char* buffer);
int set_crcwizard(int value);

// Appends a factory status to the history of all that were written; 0, or -1.
int set_frst_trace(int value);

// The first character of the device-test result as a digit's value, or -1.
int get_devicetestp_result();

// Any item of 2048 bytes, and any item of one byte; 0 or the byte, or -1.
int get_string_ftm_by_index(unsigned index, char* buffer);
int get_int_ftm_by_index(unsigned index);

#pragma GCC visibility pop
