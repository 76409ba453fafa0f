#include "simulator/modem/items.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <utility>

#include "channel/modem_records.h"
#include "channel/opcodes.h"
#include "desk/words.h"
#include "simulator/files.h"
#include "platform/os.h"
#include "platform/records.h"

using namespace std::string_view_literals;

namespace atd::sim {

namespace {

enum class Kind {
  fixed,       // answers the same always
  read,        // answers the stored bytes, or `answer` where none are stored
  read_text,   // the same without the newline that a person's editor leaves
  write,       // stores the payload
  put,         // stores `value`
  copy,        // stores what the item `value` holds, if anything
  write_imei,  // stores a payload of 14 or 15 digits
  camp,        // stores a band
  flight,      // stores one byte, 1 or 0
  clear_user,  // forgets the bulk data
  bulk_in,     // takes a chunk of bulk data
  bulk_out,    // gives a chunk of bulk data
  nv_read,     // 132-byte packets about one of many numbered items
  nv_write,
  nv_crc,  // the CRC of the numbered items without those of a list
};

constexpr size_t kMaxBulk = 16 * 1024 * 1024;

// What a restart of the modem forgets.
constexpr const char* kUntilRestart[] = {"camped_band", "flight_mode", "wcdma_max_power"};

std::string without_trailing(std::string text, char unwanted) {
  text.erase(text.find_last_not_of(unwanted) + 1);
  return text;
}

bool not_written(const char* name) {
  __android_log_print(ANDROID_LOG_ERROR, "modem", "cannot write sim/modem/%s: %s", name, strerror(errno));
  return false;
}

bool is_imei(const std::string& text) {
  return (text.size() == 14 || text.size() == 15) && text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

struct ModemItems::Item {
  int opcode;
  const char* file;
  Kind kind;
  std::string_view answer;
  std::string_view value = {};
};

constexpr ModemItems::Item ModemItems::kItems[] = {
    // clang-format off
    {kTestScriptSet,       "test_script_mode", Kind::put,        "1", "1"},
    {kTestScriptMode,      "test_script_mode", Kind::read_text,  "0"},
    {kCalibrationBackup,   "cal_backup",       Kind::copy,       "1", "cal_data"},
    {kCalibrationRestore,  "cal_data",         Kind::copy,       "1", "cal_backup"},
    {kCalibrationReset,    "cal_data",         Kind::put,        "1", "0"},
    {kModemDataClear,       "bulk",             Kind::clear_user, "1"},
    {kSimCountOpcode,      "sim_count",        Kind::read_text,  "1"},
    {kSatpcMode0,            "",                 Kind::fixed,      "OK"},
    {kCamp,                "camped_band",      Kind::camp,       "OK"},
    {kWcdmaMaxPowerOn,     "wcdma_max_power",  Kind::put,        "1", "1"},
    {kWcdmaMaxPowerOff,    "wcdma_max_power",  Kind::put,        "1", "0"},
    {kCalibrationRead,     "cal_data",         Kind::read_text,  "1"},
    {kCalibrationCheck,    "",                 Kind::fixed,      "0"},
    {kVcoTuningWrite,      "vco_self_tuning",  Kind::put,        "1", "1"},
    {kVcoTuningRead,       "vco_self_tuning",  Kind::read_text,  "1"},
    {kSatpcMode1,             "",                 Kind::fixed,      "OK"},
    {kResetFirstProduction,"",                 Kind::fixed,      "1"},
    {kCheckFirstProduction,"",                 Kind::fixed,      "1"},
    {kCheckStartDay,       "",                 Kind::fixed,      "1"},
    {kResetRefurbish,      "",                 Kind::fixed,      "1"},
    {kCheckRefurbish,      "",                 Kind::fixed,      "1"},
    {kInitStartDay,        "",                 Kind::fixed,      "1"},
    {kSetStartDay,         "",                 Kind::fixed,      "1"},
    {kDetach,              "",                 Kind::fixed,      "\0"sv},
    {kImplWrite,           "impl",             Kind::write,      "IMPL OK"},
    {kImplRead,            "impl",             Kind::read,       ""},
    {kBcplWrite,           "bcpl",             Kind::write,      "BCPL OK"},
    {kBcplRead,            "bcpl",             Kind::read,       ""},
    {kIddeWrite,           "idde",             Kind::write,      "IDDE OK"},
    {kIddeRead,            "idde",             Kind::read,       ""},
    {kOtpeWrite,           "otpe",             Kind::write,      "OTPE OK"},
    {kFusgWrite,           "fusg",             Kind::write,      "FUSG OK"},
    {kFusgRead,            "fusg",             Kind::read,       ""},
    {kCdbeWrite,           "cdbe",             Kind::write,      "CDBE OK"},
    {kBcpeWrite,           "bcpe",             Kind::write,      "BCPE OK"},
    {kPid2Write,           "pid2",             Kind::write,      "PID2 OK"},
    {kPid2Read,            "pid2",             Kind::read,       ""},
    {kImeiWrite,           "imei",             Kind::write_imei, "IMEI WRITE OK"},
    {kImeiRead,            "imei",             Kind::read_text,  ""},
    {kImei2Write,          "imei2",            Kind::write_imei, "IMEI WRITE OK"},
    {kImei2Read,           "imei2",            Kind::read_text,  ""},
    {kImei3Write,          "imei3",            Kind::write_imei, "IMEI WRITE OK"},
    {kImei3Read,           "imei3",            Kind::read_text,  ""},
    {kBtadWrite,           "btad",             Kind::write,      "BTAD OK"},
    {kBtadRead,            "btad",             Kind::read,       ""},
    {kBulkSend,            "bulk",             Kind::bulk_in,    "OK"},
    {kBulkReceive,         "bulk",             Kind::bulk_out,   ""},
    {kMeidRead,            "meid",             Kind::read_text,  "A0000000000000"},
    {kPesnRead,            "pesn",             Kind::read_text,  "80000000"},
    {kModemFileSystemSync, "",                 Kind::fixed,      "\0"sv},
    {kModemFlightMode,     "flight_mode",      Kind::flight,     "1"},
    {kPidRead,             "pid",              Kind::read_text,  ""},
    {kPidWrite,            "pid",              Kind::write,      "PID OK"},
    {kModemReady,          "",                 Kind::fixed,      "1"},
    {kRfDeviceCheck,       "",                 Kind::fixed,      "1"},
    {kModemReset,          "",                 Kind::fixed,      "1"},
    {kResetReturn,         "",                 Kind::fixed,      "1"},
    {kResetBrand,          "",                 Kind::fixed,      "1"},
    {kResetServiceReturn,  "",                 Kind::fixed,      "1"},
    {kNvRead,              "nv_",              Kind::nv_read,    ""},
    {kNvWrite,             "nv_",              Kind::nv_write,   ""},
    {kNvCrc,               "nv_",              Kind::nv_crc,     ""},
    {kHardResetKey,        "hard_reset_key",   Kind::flight,     "\0"sv},
    {kModemBackup,         "",                 Kind::fixed,      "1"},
    // clang-format on
};

ModemItems::ModemItems(const std::string& root, const std::atomic<bool>& syncs)
    : folder_(root + "/sim/modem/"), syncs_(syncs) {
  make_folders(folder_);
}

bool ModemItems::keeps(const std::string& name) {
  int item;
  if (name.starts_with("nv_")) {
    return read_number(name.substr(3), 0, UINT16_MAX, &item) && name == "nv_" + std::to_string(item);
  }
  return !forgets(name) && !name.empty() &&
         std::any_of(std::begin(kItems), std::end(kItems), [&](const Item& row) { return name == row.file; });
}

bool ModemItems::forgets(const std::string& name) {
  return std::find(std::begin(kUntilRestart), std::end(kUntilRestart), name) != std::end(kUntilRestart);
}

void ModemItems::restart() {
  incoming_.clear();
  bulk_sent_ = 0;
  for (const char* name : kUntilRestart) unlink((folder_ + name).c_str());
}

bool ModemItems::answer(int opcode, const std::string& payload, std::string* answer) {
  for (const Item& item : kItems) {
    if (item.opcode != opcode) continue;
    *answer = item.answer;
    if (!carry_out(item, payload, answer)) return false;
    // A file that a person edits may have any size.
    if (answer->size() > MAX_RZCMD_REQ_SIZE) answer->resize(MAX_RZCMD_REQ_SIZE);
    return true;
  }
  __android_log_print(ANDROID_LOG_WARN, "modem", "opcode %d: no built-in item and no row in sim/modem.conf", opcode);
  return false;
}

bool ModemItems::carry_out(const Item& item, const std::string& payload, std::string* answer) {
  switch (item.kind) {
    case Kind::fixed: return true;
    case Kind::read: *answer = stored(item.file, item.answer); return true;
    case Kind::read_text: *answer = without_trailing(stored(item.file, item.answer), '\n'); return true;
    case Kind::write: return store(item.file, payload);
    case Kind::put: return store(item.file, std::string(item.value));
    case Kind::copy: {
      // Calibration data that was never written reads "1"; a restore finds what a backup has left.
      std::string value;
      if (read_file(folder_ + std::string(item.value), &value)) return store(item.file, value);
      if (item.value == "cal_data") return store(item.file, "1");
      *answer = "0";
      return true;
    }
    case Kind::write_imei: {
      const std::string imei = without_trailing(payload, '\0');
      if (is_imei(imei)) return store(item.file, imei);
      *answer = "IMEI WRITE FAIL";
      return true;
    }
    case Kind::camp: {
      // More than a band may follow: "12,1,0".
      const std::string band = payload.substr(0, payload.find_first_of(",\0"sv));
      int number;
      if (read_number(band, 1, 94, &number)) return store(item.file, band);
      *answer = "FAIL";
      return true;
    }
    case Kind::flight: {
      const bool sane = payload.size() == 1 && (payload[0] == 0 || payload[0] == 1);
      if (sane) return store(item.file, payload[0] == 1 ? "1" : "0");
      *answer = "\0"sv;
      return true;
    }
    case Kind::clear_user:
      incoming_.clear();
      bulk_sent_ = 0;
      if (unlink((folder_ + item.file).c_str()) != 0) return errno == ENOENT || not_written(item.file);
      return !syncs_ || sync_folder(folder_) || not_written(item.file);
    case Kind::bulk_in: return receive_bulk(payload);
    case Kind::bulk_out: *answer = next_bulk_chunk(); return true;
    case Kind::nv_read: return access_nv(false, payload, answer);
    case Kind::nv_write: return access_nv(true, payload, answer);
    case Kind::nv_crc: return sum_nv(payload, answer);
  }
  return false;
}

std::string ModemItems::stored(const std::string& name, std::string_view when_missing) const {
  std::string value;
  return read_file(folder_ + name, &value) ? value : std::string(when_missing);
}

bool ModemItems::store(const std::string& name, const std::string& value) {
  if (write_file(folder_ + name, value, syncs_)) return true;
  return not_written(name.c_str());
}

bool ModemItems::receive_bulk(const std::string& chunk) {
  if (chunk.size() > kBulkChunk || incoming_.size() + chunk.size() > kMaxBulk) {
    incoming_.clear();
    __android_log_print(ANDROID_LOG_ERROR, "modem", "bulk data: a chunk has at most 255 bytes, the whole 16 MiB");
    return false;
  }
  incoming_ += chunk;
  if (chunk.size() == kBulkChunk) return true;
  bulk_sent_ = 0;
  return store("bulk", std::exchange(incoming_, {}));
}

std::string ModemItems::next_bulk_chunk() {
  // A person's file may have more than the modem takes.
  std::string chunk(std::min<size_t>(kBulkChunk, kMaxBulk - bulk_sent_), '\0');
  const int fd = open((folder_ + "bulk").c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  const ssize_t got = fd < 0 ? 0 : pread(fd, chunk.data(), chunk.size(), static_cast<off_t>(bulk_sent_));
  if (fd >= 0) close(fd);
  chunk.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
  bulk_sent_ = chunk.size() == kBulkChunk ? bulk_sent_ + kBulkChunk : 0;
  return chunk;
}

bool ModemItems::access_nv(bool write, const std::string& bytes, std::string* answer) {
  const uint8_t code = write ? kNvWriteCode : kNvReadCode;
  NvPacket packet;
  if (bytes.size() == sizeof packet) memcpy(&packet, bytes.data(), sizeof packet);
  if (bytes.size() != sizeof packet || packet.code != code) {
    __android_log_print(ANDROID_LOG_ERROR, "modem", "NV item: a packet has 132 bytes and begins with %d", code);
    return false;
  }
  const std::string name = "nv_" + std::to_string(packet.item);
  if (write && !store(name, std::string(packet.data, sizeof packet.data))) return false;
  *answer = stored(name, "");
  if (answer->empty()) return true;
  answer->resize(kNvDataSize);
  *answer += static_cast<char>(kNvDone);
  return true;
}

bool ModemItems::sum_nv(const std::string& list, std::string* answer) {
  constexpr size_t kListSize = 254;
  if (list.size() != kListSize) {
    __android_log_print(ANDROID_LOG_ERROR, "modem", "NV CRC: a list has 254 bytes");
    return false;
  }
  // 0 ends the list.
  std::string named;
  std::set<int> left_out, items;
  for (size_t i = 0; i < kListSize && (list[i] || list[i + 1]); i += 2) {
    named += list.substr(i, 2);
    left_out.insert(static_cast<uint8_t>(list[i]) | static_cast<uint8_t>(list[i + 1]) << 8);
  }
  std::error_code failed;
  for (const auto& file : std::filesystem::directory_iterator(folder_, failed)) {
    const std::string name = file.path().filename();
    int item;
    if (name.starts_with("nv_") && read_number(name.substr(3), 0, UINT16_MAX, &item)) items.insert(item);
  }
  uLong crc = crc32(0, nullptr, 0);
  for (int item : items) {
    if (left_out.contains(item)) continue;
    std::string record = {static_cast<char>(item), static_cast<char>(item >> 8)};
    record += stored("nv_" + std::to_string(item), "");
    record.resize(2 + kNvDataSize);
    crc = crc32(crc, reinterpret_cast<const Bytef*>(record.data()), static_cast<uInt>(record.size()));
  }
  *answer = std::string(1, static_cast<char>(named.size() / 2)) + '\0';
  for (int shift : {24, 16, 8, 0}) *answer += static_cast<char>(crc >> shift);
  *answer += named;
  return true;
}

}  // namespace atd::sim
