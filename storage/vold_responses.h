// What the volume daemon's response codes mean.
#pragma once

namespace atd {

// The meaning of a code in words; for an unknown one a text that says so.
const char* vold_response_text(int code);

}  // namespace atd
