#include "reset/production_reset.h"

#include "channel/opcodes.h"
#include "channel/text_answer.h"
#include "platform/log.h"
#include "platform/records.h"

using namespace atd;

namespace {

struct ProductionReset {
  int kind;
  int opcode;
  const char* name;
};

constexpr ProductionReset kResets[] = {
    {0, kResetFirstProduction, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION"},
    {1, kCheckFirstProduction, "TAV_MODEM_MSG_RESET_FIRST_PRODUCTION_CHECK"},
    {2, kCheckStartDay, "TAV_MODEM_MSG_RESET_STARTDAY_CHECK"},
    {3, kInitStartDay, "TAV_MODEM_MSG_RESET_INIT_STARTDAY"},
    {4, kSetStartDay, "TAV_MODEM_MSG_RESET_STARTDAY_SET"},
    {100, kResetReturn, "TAV_MODEM_MSG_RTN_RESET_PRODUCTION"},
    {101, kResetBrand, "TAV_MODEM_MSG_BRAND_RESET_PRODUCTION"},
    {102, kResetServiceReturn, "TAV_MODEM_MSG_SCRTN_RESET_PRODUCTION"},
    {103, kResetRefurbish, "TAV_MODEM_MSG_RESET_REFURBISH"},
    {104, kCheckRefurbish, "TAV_MODEM_MSG_RESET_REFURBISH_CHECK"},
};

}  // namespace

int tav_reset_production(int kind) {
  for (const ProductionReset& row : kResets) {
    if (row.kind != kind) continue;
    SLOGI("%s", row.name);
    TextAnswer response;
    if (const int error = response.ask(row.opcode)) return error;
    if (response.text[0] == '1') return 0;
    SLOGE("response data: %s\n", response.text);
    return 1;
  }
  return -1;
}
