// A host daemon: host DIR COMMAND serves the phone in the folder DIR while the command runs; its status is the
// command's.
#include <atd.h>
#include <simulator/simulated_device.h>
#include <stdio.h>
#include <stdlib.h>

int main(int argc, char** argv) {
  std::string error;
  auto phone = atd::sim::SimulatedDevice::open(argc == 3 ? argv[1] : "", &error);
  if (!phone) return fprintf(stderr, "host: %s\n", error.c_str()), 1;
  if (init_factory_item(0) != 0 || set_wine_ime(7) != 0) return 1;
  init_socket();
  int status = system(argv[2]);
  stop_socket();
  return status == 0 ? 0 : 1;
}
