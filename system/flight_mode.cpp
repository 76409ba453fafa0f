#include "system/flight_mode.h"

#include <string.h>

#include "channel/opcodes.h"
#include "channel/request_channel.h"
#include "channel/text_answer.h"
#include "platform/log.h"
#include "platform/records.h"
#include "system/sleep.h"
#include "text/node.h"
#include "text/text_writer.h"

using namespace atd;

int modem_flight_status;

namespace {

constexpr char kLed[] = "/sys/class/leds/R/device/led_pattern";
constexpr size_t kReplySize = 20;

int ask_platform(int opcode, const char* text, char* out) {
  TextAnswer answer;
  const int error = answer.ask(opcode, text, static_cast<int>(strnlen(text, MAX_RZCMD_REQ_SIZE + 1)));
  answer.copy_to(out);
  return error;
}

}  // namespace

int flight_mode_get_status(char* out) { return ask_platform(kFlightModeStatus, "", out); }

int flight_set_mode(const char* text, char* out) { return ask_platform(kFlightModeSet, text, out); }

int flight_set_mode_to_modem(const char* mode, char* out) {
  const bool on = mode[0] == '1';
  // The LED's values are the mode's turned round, as the board wants them.
  const bool lit = write_node(kLed, on ? "0" : "1") == 0;
  SLOGI("flight_set_mode_to_modem : %s!\n", on ? "On" : "Off");
  if (lit) SLOGI("LED ON Success");
  else SLOGE("LED ON Fail");

  TextWriter reply(out, kReplySize);
  const char request = on ? 1 : 0;
  char answer[MAX_RZCMD_REQ_SIZE] = {};
  int length = 0;
  if (const int error = request_to_system(kModemFlightMode, &request, 1, answer, &length, nullptr)) {
    reply.text("ERROR");
    SLOGE("Cannot get response. Return error!(flight)\n");
    return error;
  }
  if (length == 0 || answer[0] == 0) {
    reply.text("ERROR");
    SLOGE("flight_set_mode_to_modem : FAIL(%d)\n", answer[0]);
    return 1;
  }
  // Other threads read it as they please.
  __atomic_store_n(&modem_flight_status, on ? 1 : 0, __ATOMIC_RELAXED);
  SLOGI("flight_set_mode_to_modem : %d\n", on ? 1 : 0);
  reply.text(on ? "[1] FLIGHT Mode ON" : "[0] FLIGHT Mode OFF");
  return on ? system_sleep() : system_wakeup();
}

int modem_flight_mode_get_status(char* out) {
  memcpy(out, get_flight_status() == 1 ? "1" : "0", 2);
  return 0;
}

int get_flight_status() { return __atomic_load_n(&modem_flight_status, __ATOMIC_RELAXED); }
