// Every factory item that the system uses. The numbers are shared with the boot loader and the factory's tools.
#pragma once

#include "platform/ftm_item.h"

namespace atd {

// How an item's bytes are to be read.
enum class Encoding {
  flag,   // one byte, a number or a character as its users agree
  digit,  // a number as an ASCII digit in the first byte
  text,   // padded with NULs; a full one has no terminator
  bytes,  // raw
};

struct FactoryItem {
  unsigned index;
  int length;  // in bytes; the store transfers exactly that many
  Encoding encoding;
  const char* name;
};

inline constexpr FactoryItem kFactoryItems[] = {
    // clang-format off
    {2,    1,    Encoding::flag,  "factory status"},
    {3,    1,    Encoding::flag,  "QEM flag"},
    {4,    30,   Encoding::text,  "PID"},
    {5,    31,   Encoding::text,  "automatic-test result"},
    {6,    6,    Encoding::bytes, "WLAN MAC address"},
    {7,    31,   Encoding::text,  "device-test result"},
    {8,    6,    Encoding::bytes, "Bluetooth address"},
    {9,    12,   Encoding::text,  "factory serial number"},
    {10,   1,    Encoding::flag,  "charger skip"},
    {11,   4,    Encoding::bytes, "LCD calibration"},
    {12,   1,    Encoding::flag,  "download-mode factory reset"},
    {13,   20,   Encoding::text,  "IMEI"},
    {14,   70,   Encoding::text,  "software version"},
    {15,   70,   Encoding::text,  "original software version"},
    {17,   128,  Encoding::text,  "automatic-test set"},
    {18,   16,   Encoding::text,  "MSN"},
    {19,   16,   Encoding::text,  "manufacture date"},
    {21,   512,  Encoding::bytes, "diagnostic-port enable"},
    {23,   1,    Encoding::flag,  "factory reset running"},
    {25,   128,  Encoding::text,  "automatic-test order"},
    {29,   31,   Encoding::text,  "second device-test result"},
    {31,   50,   Encoding::text,  "fixed-area version"},
    {32,   8,    Encoding::text,  "buyer code"},
    {36,   10,   Encoding::text,  "set revision"},
    {37,   16,   Encoding::text,  "CSN"},
    {39,   30,   Encoding::text,  "SKU"},
    {40,   1,    Encoding::flag,  "work factory-reset mode"},
    {44,   128,  Encoding::text,  "partial automatic-test set"},
    {45,   64,   Encoding::text,  "self-diagnosis result"},
    {46,   8,    Encoding::digit, "pre self-diagnosis enable"},
    {49,   1,    Encoding::digit, "CRC wizard"},
    {53,   1,    Encoding::flag,  "encryption on boot"},
    {75,   1,    Encoding::flag,  "wine IME"},
    {79,   2048, Encoding::text,  "factory status trace"},
    {80,   1,    Encoding::flag,  "hidden-menu extension"},
    {88,   1684, Encoding::bytes, "sniff download data"},
    {89,   512,  Encoding::bytes, "sniff download configuration"},
    {90,   512,  Encoding::text,  "SD-card download path"},
    {95,   256,  Encoding::text,  "third device-test result"},
    {97,   256,  Encoding::text,  "extended self-diagnosis result"},
    {101,  1,    Encoding::flag,  "LCD break mode"},
    {106,  1,    Encoding::flag,  "test mode"},
    {119,  1,    Encoding::flag,  "MFTS status"},
    {129,  8,    Encoding::text,  "download mode"},
    {132,  1,    Encoding::flag,  "radiation test result"},
    {207,  20,   Encoding::text,  "MEID"},
    {210,  92,   Encoding::text,  "baseband version"},
    {211,  10,   Encoding::bytes, "laser auto-focus calibration"},
    {212,  128,  Encoding::text,  "SAAT result"},
    {213,  1,    Encoding::flag,  "image resize complete"},
    {214,  4,    Encoding::bytes, "image security number"},
    {215,  16,   Encoding::text,  "image name"},
    {216,  1,    Encoding::flag,  "FSG write-protect enable"},
    {217,  1,    Encoding::flag,  "FSG in use"},
    {218,  1,    Encoding::flag,  "FSG use count"},
    {221,  1,    Encoding::flag,  "FSG write-protect status"},
    {223,  1,    Encoding::flag,  "ship mode"},
    {225,  1,    Encoding::flag,  "scan DM0 enable"},
    {226,  1,    Encoding::flag,  "scan DM0 status"},
    {230,  16,   Encoding::text,  "crash count"},
    {231,  7500, Encoding::text,  "crash record 0"},
    {235,  7500, Encoding::text,  "crash record 1"},
    {239,  7500, Encoding::text,  "crash record 2"},
    {243,  7500, Encoding::text,  "crash record 3"},
    {247,  7500, Encoding::text,  "crash record 4"},
    {251,  128,  Encoding::text,  "MID automatic-test result"},
    {252,  1,    Encoding::flag,  "MID automatic-test status"},
    {253,  40,   Encoding::bytes, "MID automatic-test CRC list"},
    {300,  4,    Encoding::bytes, "GPIO sum"},
    {410,  1,    Encoding::flag,  "preload copy status"},
    {3586, 10,   Encoding::text,  "OS upgrade flag"},
    // clang-format on
};

static_assert(
    [] {
      for (unsigned i = 1; i < sizeof kFactoryItems / sizeof *kFactoryItems; ++i) {
        if (kFactoryItems[i - 1].index >= kFactoryItems[i].index) return false;
      }
      return true;
    }(),
    "factory items stand in the order of their indexes, each once");

// The registered item of an index, or null.
constexpr const FactoryItem* find_item(unsigned index) {
  for (const FactoryItem& entry : kFactoryItems) {
    if (entry.index == index) return &entry;
  }
  return nullptr;
}

// The registered item of an index; one that is not registered does not compile.
template <unsigned index>
inline constexpr const FactoryItem& item = *find_item(index);

// Reads an item into a buffer of its length; what the store returns, negative on failure.
inline int read_item(const FactoryItem& item, void* buffer) { return get_ftm_item(item.index, item.length, buffer); }

// Writes an item from a buffer of its length; what the store returns, negative on failure.
inline int write_item(const FactoryItem& item, const void* buffer) {
  return set_ftm_item(item.index, item.length, buffer);
}

}  // namespace atd
