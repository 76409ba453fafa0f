// What the volume daemon's failures mean.
#pragma once

namespace atd {

// The meaning of a code from 400 to 499 in words; for an unknown one a text that says so.
const char* vold_response_text(int code);

}  // namespace atd
