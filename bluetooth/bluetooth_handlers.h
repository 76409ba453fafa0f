// The handler of the Bluetooth address.
#pragma once

struct rzcmd_response;

namespace atd {

// Stores a text of 12 hexadecimal digits as the Bluetooth address and has it loaded; result 1 when that fails. The
// empty text answers the address, the default one where none can be read.
void handle_automid_btaddr(const char* text, rzcmd_response* rsp);

}  // namespace atd
