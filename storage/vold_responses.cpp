#include "storage/vold_responses.h"

namespace atd {

const char* vold_response_text(int code) {
  switch (code) {
    case 400: return "Requested action failed";
    case 401: return "Requested action failed, there is no medium";
    case 402: return "Requested action failed, the medium is blank";
    case 403: return "Requested action failed, the medium is corrupt";
    case 404: return "Requested action failed, the volume is not mounted";
    case 405: return "Requested action failed, the storage is busy";
    case 406: return "Requested action failed, the storage was not found";
    default: return "Unknown ~ Refer system/vold/ResponseCode.h";
  }
}

}  // namespace atd
