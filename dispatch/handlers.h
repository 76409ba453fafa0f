// Handlers that belong to no other room, or to several.
#pragma once

struct rzcmd_request;
struct rzcmd_response;

namespace atd {

// Blocks (any value but 0) or unblocks the diagnostic tty with the first payload byte.
void handle_set_diag_tty_block(rzcmd_request* req, rzcmd_response* rsp);

// Answers one byte 0, whatever the state is: stations rely on that.
void handle_get_diag_tty_block(rzcmd_response* rsp);

// Marks the sniff download data, sets the factory status to 2 and restarts the phone; result 1 when that fails.
void handle_sniff_w_mid(rzcmd_response* rsp);

}  // namespace atd
