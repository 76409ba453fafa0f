// Handlers of restart and what goes before it.
#pragma once

struct rzcmd_response;

namespace atd {

// Stores the number's low byte as the boot status and restarts the phone; the empty text does neither, with result 0.
// Result 1 for another text that is not a number, and when the status cannot be stored or the restart not be started,
// which takes the status back to 0.
void handle_fwx_start(const char* data, rzcmd_response* rsp);

// Writes the modem's file system out; result 0 whatever becomes of it.
void handle_efs_sync(rzcmd_response* rsp);

// Switches the power key's hard reset on, or off for a text that begins with '0'; result 1 when the modem refuses.
void handle_qct_bsp_pwr_hardreset_enable(const char* data, rzcmd_response* rsp);

// Stores the text, at most 512 bytes, as the SD-card download path, sets the boot status to 1 and restarts the phone
// into download mode. Result 1 when the first step that fails is one of these; a restart that cannot be started takes
// the status back to 0.
void handle_sdcard_download(const char* data, rzcmd_response* rsp);

}  // namespace atd
