#include "platform/bluetooth.h"

#include <string.h>

#include <algorithm>

#include "simulator/simulated_device.h"

using atd::sim::Bluetooth;
using atd::sim::Call;
using atd::sim::SimulatedDevice;

namespace {

// What a function answers: the answer that it was told, a failure, or what its work brings.
template <typename Work>
int call(const char* function, Work work) {
  SimulatedDevice& device = SimulatedDevice::current();
  if (device.faults.hits(Call::bluetooth, function)) return -1;
  const std::optional<int> told = device.bluetooth.answer(function);
  return told ? *told : work(device.bluetooth);
}

}  // namespace

int bluetooth_enter_dut_mode(int index) {
  return call(__func__, [&](Bluetooth& controller) { return controller.enter_dut(index); });
}

int bluetooth_exit_dut_mode() {
  return call(__func__, [](Bluetooth& controller) { return controller.exit_dut(); });
}

int bluetooth_is_dut_mode() {
  return call(__func__, [](Bluetooth& controller) { return controller.state().dut ? 1 : 0; });
}

int do_ble_enable() {
  return call(__func__, [](Bluetooth& controller) { return controller.enable(true); });
}

int do_ble_disable() {
  return call(__func__, [](Bluetooth& controller) { return controller.enable(false); });
}

int bt_le_transmitter_test(int channel, int length, int pattern) {
  return call(__func__, [&](Bluetooth& controller) { return controller.send(channel, length, pattern); });
}

int bt_le_receiver_test(int channel) {
  return call(__func__, [&](Bluetooth& controller) { return controller.receive(channel); });
}

int bt_le_tx_test_end() {
  unsigned none;
  return call(__func__, [&](Bluetooth& controller) { return controller.end(Bluetooth::Test::sending, &none); });
}

int bt_le_rx_test_end(unsigned* count) {
  return call(__func__, [&](Bluetooth& controller) { return controller.end(Bluetooth::Test::receiving, count); });
}

// A command packet of the Low Energy group.
int checkIsBleCmd(const unsigned char* data, int length) {
  return call(__func__, [&](Bluetooth&) { return length >= 4 && data[0] == 1 && data[2] == 0x20 ? 1 : 0; });
}

int doProcessBLECmd(const unsigned char* data, int length, unsigned char* reply, int* reply_length) {
  return call(__func__, [&](Bluetooth& controller) {
    const std::string event = controller.run({data, data + std::max(length, 0)});
    memcpy(reply, event.data(), event.size());
    *reply_length = static_cast<int>(event.size());
    return 0;
  });
}
