#include "platform/diagpkt.h"

#include <stdlib.h>

#include "simulator/simulated_device.h"

using atd::sim::Call;
using atd::sim::SimulatedDevice;

void* diagpkt_alloc(unsigned code, unsigned length) {
  if (length == 0 || SimulatedDevice::current().faults.hits(Call::diagpkt_alloc, std::to_string(code))) return nullptr;
  unsigned char* packet = static_cast<unsigned char*>(calloc(1, length));
  if (packet) packet[0] = static_cast<unsigned char>(code);
  return packet;
}

void diagpkt_free(void* packet) { free(packet); }
