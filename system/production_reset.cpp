#include "atd.h"
#include "platform/log.h"
#include "transport/records.h"

using namespace atd;

namespace {

struct ProductionReset {
  int kind;
  int opcode;
  const char* name;
};

constexpr ProductionReset kResets[] = {
    {0, 40, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION"},
    {1, 41, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION_CHECK"},
    {2, 42, "TAV_MODEM_MSG_RESET_STARTDAY_CHECK"},
    {3, 45, "TAV_MODEM_MSG_RESET_INIT_STARTDAY"},
    {4, 46, "TAV_MODEM_MSG_RESET_STARTDAY_SET"},
    {100, 510, "TAV_MODEM_MSG_RTN_RESET_PRODUCTION"},
    {101, 511, "TAV_MODEM_MSG_BRAND_RESET_PRODUCTION"},
    {102, 512, "TAV_MODEM_MSG_SCRTN_RESET_PRODUCTION"},
    {103, 43, "TAV_MODEM_MSG_RESET_REFURBISH"},
    {104, 44, "TAV_MODEM_MSG_RESET_REFURBISH_CHECK"},
};

}  // namespace

int tav_reset_production(int kind) {
  for (const ProductionReset& row : kResets) {
    if (row.kind != kind) continue;
    SLOGI("%s", row.name);
    char response[MAX_RZCMD_REQ_SIZE + 1] = {};
    int error = request_to_system(row.opcode, nullptr, 0, response, nullptr, nullptr);
    if (error != 0) return error;
    if (response[0] == '1') return 0;
    SLOGE("response data: %s\n", response);
    return 1;
  }
  return -1;
}
