#include "simulator/bluetooth.h"

#include <algorithm>

namespace atd::sim {

namespace {

// Low Energy commands by the low byte of their opcode, and the statuses of an event.
constexpr unsigned char kReceiverTest = 0x1D, kTransmitterTest = 0x1E, kTestEnd = 0x1F;
constexpr char kDone = 0x00, kUnknown = 0x01, kDisallowed = 0x0C, kBadParameters = 0x12;

}  // namespace

Bluetooth::State Bluetooth::state() const {
  std::lock_guard guard(lock_);
  return state_;
}

void Bluetooth::lose() {
  std::lock_guard guard(lock_);
  state_ = {};
}

void Bluetooth::set_rate(int packets) {
  std::lock_guard guard(lock_);
  rate_ = packets;
}

int Bluetooth::rate() const {
  std::lock_guard guard(lock_);
  return rate_;
}

void Bluetooth::set_answer(const std::string& function, std::optional<int> answer) {
  std::lock_guard guard(lock_);
  if (answer) answers_[function] = *answer;
  else answers_.erase(function);
}

std::optional<int> Bluetooth::answer(const std::string& function) const {
  std::lock_guard guard(lock_);
  const auto found = answers_.find(function);
  return found == answers_.end() ? std::nullopt : std::optional(found->second);
}

std::map<std::string, int> Bluetooth::answers() const {
  std::lock_guard guard(lock_);
  return answers_;
}

const std::vector<std::string>& Bluetooth::functions() {
  static const std::vector<std::string> names = {
      "bluetooth_enter_dut_mode", "bluetooth_exit_dut_mode", "bluetooth_is_dut_mode", "bt_le_transmitter_test",
      "bt_le_receiver_test",      "bt_le_tx_test_end",       "bt_le_rx_test_end",     "do_ble_enable",
      "do_ble_disable",           "checkIsBleCmd",           "doProcessBLECmd"};
  return names;
}

int Bluetooth::enter_dut(int index) {
  if (index < 0 || index > 32) return kRefused;
  std::lock_guard guard(lock_);
  state_.dut = index;
  return 0;
}

int Bluetooth::exit_dut() {
  std::lock_guard guard(lock_);
  if (!state_.dut) return 2;
  state_.dut.reset();
  return 0;
}

int Bluetooth::enable(bool on) {
  std::lock_guard guard(lock_);
  state_.low_energy = on;
  if (!on) state_.test = Test::none;
  return 0;
}

int Bluetooth::start(Test test, int channel) {
  std::lock_guard guard(lock_);
  if (!state_.low_energy || state_.test != Test::none || channel < 0 || channel > 39) return kRefused;
  state_.test = test;
  state_.channel = channel;
  state_.start = clock_.now();
  return 0;
}

int Bluetooth::send(int channel, int length, int pattern) {
  if (length < 0 || length > 255 || pattern < 0 || pattern > 7) return kRefused;
  return start(Test::sending, channel);
}

int Bluetooth::receive(int channel) { return start(Test::receiving, channel); }

int Bluetooth::end(Test test, unsigned* count) {
  std::lock_guard guard(lock_);
  if (state_.test != test || test == Test::none) return kRefused;
  state_.test = Test::none;
  const uint64_t packets = (clock_.now() - state_.start) * static_cast<uint64_t>(rate_) / 1000000;
  *count = test == Test::receiving ? static_cast<unsigned>(std::min<uint64_t>(packets, UINT32_MAX)) : 0;
  return 0;
}

std::string Bluetooth::run(const std::string& command) {
  if (command.size() < 4) return "";
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(command[i]); };
  char status = kBadParameters;
  std::string more;
  if (command.size() == 4u + byte(3)) {
    const auto told = [&](int result) { return result < 0 ? kDisallowed : kDone; };
    if (byte(1) == kReceiverTest && byte(3) == 1) {
      status = told(receive(byte(4)));
    } else if (byte(1) == kTransmitterTest && byte(3) == 3) {
      status = told(send(byte(4), byte(5), byte(6)));
    } else if (byte(1) == kTestEnd && byte(3) == 0) {
      unsigned count = 0;
      status = told(end(state().test, &count));
      count = std::min(count, 0xFFFFu);
      more = {static_cast<char>(count), static_cast<char>(count >> 8)};
    } else if (byte(1) < kReceiverTest || byte(1) > kTestEnd) {
      status = kUnknown;
    }
  }
  std::string event = {4, 0x0E, static_cast<char>(4 + more.size()), 1, command[1], command[2], status};
  return event + more;
}

}  // namespace atd::sim
