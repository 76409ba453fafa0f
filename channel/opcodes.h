// The requests that the library makes, by opcode: those up to 971 go to the modem, those from 1000 to 4414 to the
// platform's AT command service.
#pragma once

namespace atd {

// The gap between the two belongs to neither.
inline constexpr int kLastModemOpcode = 971;
inline constexpr int kFirstPlatformOpcode = 1000;
inline constexpr int kLastPlatformOpcode = 4414;

constexpr bool is_modem_opcode(int opcode) { return opcode >= 0 && opcode <= kLastModemOpcode; }
constexpr bool is_platform_opcode(int opcode) {
  return opcode >= kFirstPlatformOpcode && opcode <= kLastPlatformOpcode;
}

// Requests to the modem. In most answers the first character tells the outcome: '1' is success.
enum ModemOpcode {
  kTestScriptSet = 3,          // switch the test script on
  kTestScriptMode = 4,         // read the test script's mode
  kCalibrationBackup = 5,      // keep a copy of the calibration data
  kCalibrationRestore = 6,     // take the calibration data back from the copy
  kCalibrationReset = 7,       // reset the calibration data
  kModemDataClear = 8,         // clear the modem's data before a factory reset
  kSatpcMode0 = 13,            // SIM toolkit request, mode 0
  kCamp = 20,                  // camp on a band, or by arguments
  kWcdmaMaxPowerOn = 25,       // WCDMA at its maximum power
  kWcdmaMaxPowerOff = 26,      // WCDMA at normal power again
  kCalibrationRead = 27,       // read the calibration data
  kCalibrationCheck = 28,      // check the calibration data
  kVcoTuningWrite = 29,        // run the VCO's self-tuning
  kVcoTuningRead = 30,         // read the outcome of the VCO's self-tuning
  kSatpcMode1 = 32,            // SIM toolkit request, mode 1
  kResetFirstProduction = 40,  // production reset: first production
  kCheckFirstProduction = 41,  // check of the first production
  kCheckStartDay = 42,         // check of the start day
  kResetRefurbish = 43,        // production reset: refurbishing
  kCheckRefurbish = 44,        // check of the refurbishing
  kInitStartDay = 45,          // initialise the start day
  kSetStartDay = 46,           // set the start day
  kDetach = 60,                // detach from the network
  kImplWrite = 101,            // short factory records, named by four letters: write, read
  kImplRead = 102,
  kBcplWrite = 103,
  kBcplRead = 104,
  kIddeWrite = 105,  // "IDDE OK" erases the unit's identity
  kIddeRead = 106,
  kOtpeWrite = 107,
  kFusgWrite = 108,
  kFusgRead = 109,
  kCdbeWrite = 110,
  kBcpeWrite = 111,
  kPid2Write = 114,  // the second product ID
  kPid2Read = 115,
  kImeiWrite = 116,  // IMEI; the first one of a phone with several SIMs
  kImeiRead = 117,
  kImei2Write = 118,
  kImei2Read = 119,
  kImei3Write = 120,
  kImei3Read = 121,
  kBtadWrite = 122,  // the modem's record of the Bluetooth address
  kBtadRead = 123,
  kBulkSend = 155,             // one chunk of bulk data, at most 255 bytes; a shorter one is the last
  kBulkReceive = 156,          // the next chunk of bulk data back
  kMeidRead = 157,             // MEID
  kPesnRead = 158,             // pseudo ESN
  kModemFileSystemSync = 200,  // write the modem's file system out
  kModemFlightMode = 201,      // flight mode, one byte: 1 on, 0 off
  kPidRead = 202,              // product ID
  kPidWrite = 203,
  kModemReady = 209,        // whether the modem takes commands
  kRfDeviceCheck = 210,     // check of the RF devices
  kModemReset = 214,        // restart of the modem
  kFileSystemAccess = 401,  // one operation on the modem's file system
  kResetReturn = 510,       // production resets: return, brand, service return
  kResetBrand = 511,
  kResetServiceReturn = 512,
  kNvRead = 550,  // a numbered item of the modem, in a packet of 132 bytes
  kNvWrite = 551,
  kHardResetKey = 610,  // enable the power key's hard reset
  kNvCrc = 660,         // CRC of the numbered items, without those of a list
  kModemBackup = 960,   // backup of the modem's data
};

// Requests to the platform.
enum PlatformOpcode {
  kDbCrc = 1000,      // CRC of the databases
  kFpriCrc = 1001,    // CRC of the FPRI
  kDbDump = 1003,     // write the dump of the databases
  kDbCopy = 1004,     // copy it
  kMediaScan = 1005,  // look for new files on the SD card
  // The answers to these two count as success, whatever the result in them says.
  kPlatform1011 = 1011,
  kPlatform1012 = 1012,
  kKeyClick = 1202,    // press and release a key; one byte, the platform's key number
  kKeyPress = 1203,    // press it
  kKeyRelease = 1204,  // release it
  kLcdOn = 1352,       // switch the screen on, off
  kLcdOff = 1353,
  kFlightModeSet = 1651,     // set the platform's flight mode, by a text
  kFlightModeStatus = 1652,  // read it
  kAndroidSleep = 1653,      // put the phone to sleep, wake it
  kAndroidWake = 1654,
  kPhoneNumber = 1700,   // the phone number
  kPatternClear = 1701,  // clear the screen's lock pattern
  kMtsArchive = 3051,    // pack the MTS logs into an archive of this name
  kMtsArchive4 = 3052,   // the same, kinds 4 and 5
  kMtsArchive5 = 3053,
  kOsUpgrade = 3140,  // the system was upgraded
};

}  // namespace atd
