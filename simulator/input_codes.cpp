#include "simulator/input_codes.h"

#include <linux/input-event-codes.h>

namespace atd::sim {

namespace {

struct Code {
  uint16_t type;
  uint16_t code;
  const char* name;
};

constexpr Code kCodes[] = {
    // clang-format off
    {EV_SYN, SYN_REPORT,         "SYN_REPORT"},
    {EV_KEY, KEY_1,              "KEY_1"},
    {EV_KEY, KEY_2,              "KEY_2"},
    {EV_KEY, KEY_3,              "KEY_3"},
    {EV_KEY, KEY_4,              "KEY_4"},
    {EV_KEY, KEY_5,              "KEY_5"},
    {EV_KEY, KEY_6,              "KEY_6"},
    {EV_KEY, KEY_7,              "KEY_7"},
    {EV_KEY, KEY_8,              "KEY_8"},
    {EV_KEY, KEY_9,              "KEY_9"},
    {EV_KEY, KEY_0,              "KEY_0"},
    {EV_KEY, KEY_ENTER,          "KEY_ENTER"},
    {EV_KEY, KEY_HOME,           "KEY_HOME"},
    {EV_KEY, KEY_UP,             "KEY_UP"},
    {EV_KEY, KEY_LEFT,           "KEY_LEFT"},
    {EV_KEY, KEY_RIGHT,          "KEY_RIGHT"},
    {EV_KEY, KEY_DOWN,           "KEY_DOWN"},
    {EV_KEY, KEY_VOLUMEDOWN,     "KEY_VOLUMEDOWN"},
    {EV_KEY, KEY_VOLUMEUP,       "KEY_VOLUMEUP"},
    {EV_KEY, KEY_POWER,          "KEY_POWER"},
    {EV_KEY, KEY_MENU,           "KEY_MENU"},
    {EV_KEY, KEY_BACK,           "KEY_BACK"},
    {EV_KEY, KEY_PHONE,          "KEY_PHONE"},
    {EV_KEY, KEY_HOMEPAGE,       "KEY_HOMEPAGE"},
    {EV_KEY, KEY_CAMERA,         "KEY_CAMERA"},
    {EV_KEY, KEY_MEDIA,          "KEY_MEDIA"},
    {EV_KEY, BTN_TOOL_FINGER,    "BTN_TOOL_FINGER"},
    {EV_KEY, BTN_TOUCH,          "BTN_TOUCH"},
    {EV_KEY, KEY_NUMERIC_STAR,   "KEY_NUMERIC_STAR"},
    {EV_KEY, KEY_NUMERIC_POUND,  "KEY_NUMERIC_POUND"},
    {EV_ABS, ABS_X,              "ABS_X"},
    {EV_ABS, ABS_Y,              "ABS_Y"},
    {EV_ABS, ABS_MT_SLOT,        "ABS_MT_SLOT"},
    {EV_ABS, ABS_MT_TOUCH_MAJOR, "ABS_MT_TOUCH_MAJOR"},
    {EV_ABS, ABS_MT_POSITION_X,  "ABS_MT_POSITION_X"},
    {EV_ABS, ABS_MT_POSITION_Y,  "ABS_MT_POSITION_Y"},
    {EV_ABS, ABS_MT_TRACKING_ID, "ABS_MT_TRACKING_ID"},
    {EV_ABS, ABS_MT_PRESSURE,    "ABS_MT_PRESSURE"},
    // clang-format on
};

}  // namespace

const char* event_type_name(uint16_t type) {
  switch (type) {
    case EV_SYN: return "EV_SYN";
    case EV_KEY: return "EV_KEY";
    case EV_REL: return "EV_REL";
    case EV_ABS: return "EV_ABS";
    case EV_MSC: return "EV_MSC";
    case EV_SW: return "EV_SW";
    case EV_LED: return "EV_LED";
    default: return "?";
  }
}

const char* event_code_name(uint16_t type, uint16_t code) {
  for (const Code& row : kCodes) {
    if (row.type == type && row.code == code) return row.name;
  }
  return "?";
}

int event_code(uint16_t type, const std::string& name) {
  for (const Code& row : kCodes) {
    if (row.type == type && row.name == name) return row.code;
  }
  return -1;
}

}  // namespace atd::sim
