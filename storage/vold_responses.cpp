#include "storage/vold_responses.h"

#include <algorithm>
#include <iterator>

namespace atd {

namespace {

struct Response {
  int code;
  const char* text;
};

constexpr Response kResponses[] = {
    {100, "Requested action has been initiated"},
    {110, "Volume in the list"},
    {111, "Container in the list"},
    {112, "User of the storage in the list"},
    {113, "Field of the encryption"},
    {200, "Command okay"},
    {210, "Share status"},
    {211, "Path of the container"},
    {212, "Share is enabled"},
    {213, "State of the transfer"},
    {400, "Requested action failed"},
    {401, "Requested action failed, there is no medium"},
    {402, "Requested action failed, the medium is blank"},
    {403, "Requested action failed, the medium is corrupt"},
    {404, "Requested action failed, the volume is not mounted"},
    {405, "Requested action failed, the storage is busy"},
    {406, "Requested action failed, the storage was not found"},
    {500, "Command has a wrong syntax"},
    {501, "Command has a wrong parameter"},
    {502, "Command is not permitted"},
    {600, "Information that was not asked for"},
    {605, "Volume changed its state"},
    {613, "Volume changed its id"},
    {614, "Volume changed its label"},
    {620, "Share became available or unavailable"},
    {630, "Disk was inserted"},
    {631, "Disk was removed"},
    {632, "Disk was removed while it was mounted"},
    {640, "Disk was created"},
    {641, "Disk changed its size"},
    {642, "Disk changed its label"},
    {643, "Disk was scanned"},
    {644, "Disk changed its path in sysfs"},
    {649, "Disk was destroyed"},
    {650, "Volume was created"},
    {651, "Volume changed its state"},
    {652, "Volume changed its file system type"},
    {653, "Volume changed its file system id"},
    {654, "Volume changed its file system label"},
    {655, "Volume changed its path"},
    {656, "Volume changed its internal path"},
    {659, "Volume was destroyed"},
    {660, "Progress of the move"},
    {661, "Result of the benchmark"},
    {662, "Result of the trim"},
};

}  // namespace

const char* vold_response_text(int code) {
  const Response* row = std::lower_bound(std::begin(kResponses), std::end(kResponses), code,
                                         [](const Response& response, int wanted) { return response.code < wanted; });
  return row != std::end(kResponses) && row->code == code ? row->text : "Unknown ~ Refer system/vold/ResponseCode.h";
}

}  // namespace atd
