#include "factory/camping.h"

#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "platform/log.h"
#include "platform/records.h"
#include "text/text_writer.h"

using namespace atd;

namespace {

// The number by which the modem knows a band. It is the modem's numbering that 7 goes to "4", 8 to "6", and 25 to "30".
struct Bands {
  int first;
  int last;
  int offset;
};

constexpr Bands kBands[] = {{4, 7, -3}, {8, 20, -2}, {25, 25, 5}, {49, 71, 0}, {75, 75, 0}, {83, 94, 0}};

}  // namespace

int campreq(int band) {
  char request[8];
  TextWriter text(request);
  for (const Bands& row : kBands) {
    if (band >= row.first && band <= row.last) text.format("%d", band + row.offset);
  }
  if (text.length() == 0) return 0;

  char response[MAX_RZCMD_REQ_SIZE + 1] = {};
  int length = 0, status = 0;
  int request_length = static_cast<int>(text.length());
  SLOGI("[campreq][REQ] request data : %s, request data length : %d\n", request, request_length);
  int error = request_to_system(kCamp, request, request_length, response, &length, &status);
  SLOGI("[campreq][RSP] result_status : %d, result_data : %s, result_data_len : %d\n", status, response, length);
  int result;
  if (error != 0) {
    SLOGE("[ATcampreq]Cannot get response. Return error:%d\n", error);
    result = error == RZCMD_FAIL ? RZCMD_FAIL : 2;
  } else if (strcmp(response, "OK") == 0) {
    SLOGI("[campreq] CAMP_ON");
    result = 0;
  } else {
    SLOGI("[campreq] CAMP_OFF");
    result = 2;
  }
  if (!*response) {
    // Without an answer the band counts as wrong, whatever error the request had.
    SLOGE("[campreq] MDM returns 0 becuase of the wrong band.");
    return 2;
  }
  return result;
}

int campreq(char** arguments, int count, char* response) {
  if (!arguments || !response) return RZCMD_FAIL;
  char data[MAX_RZCMD_REQ_SIZE];
  TextWriter text(data);
  for (int i = 0; i < count; ++i) text.text(i > 0 ? "," : "").text(arguments[i]);
  int data_length = static_cast<int>(text.length());
  SLOGI("[ATcampreq] c.data : %s\n", data);
  SLOGI("[ATcampreq] req.len : %d\n", data_length);
  char answer[MAX_RZCMD_REQ_SIZE + 1] = {};
  int length = 0, status = 0;
  int error = request_to_system(kCamp, data, data_length, answer, &length, &status);
  TextWriter(response, MAX_RZCMD_REQ_SIZE).text(answer);
  SLOGI("[ATcampreq] rsp->result_status : %d\n", status);
  SLOGI("[ATcampreq] rsp->result_data : %s\n", answer);
  SLOGI("[ATcampreq] rsp->result_data_len : %d\n", length);
  return error > 2 ? 2 : error;
}
