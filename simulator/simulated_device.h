// A whole simulated phone behind the platform boundary: a root folder, and one part per subsystem of the device.
#pragma once

#include <time.h>

#include <atomic>
#include <memory>
#include <string>

#include "simulator/bluetooth.h"
#include "simulator/card/card.h"
#include "simulator/card/volume_daemon.h"
#include "simulator/clock.h"
#include "simulator/display/display.h"
#include "simulator/factory_items.h"
#include "simulator/factory_wipe.h"
#include "simulator/faults.h"
#include "simulator/files.h"
#include "simulator/fingerprint.h"
#include "simulator/host.h"
#include "simulator/input/input.h"
#include "simulator/logs.h"
#include "simulator/modem/modem.h"
#include "simulator/partitions.h"
#include "simulator/power.h"
#include "simulator/property_store.h"
#include "simulator/readings.h"
#include "simulator/rtc.h"
#include "simulator/scsi.h"
#include "simulator/shell.h"
#include "simulator/sockets.h"
#include "simulator/threads.h"
#include "simulator/usb.h"

namespace atd::sim {

class SimulatedDevice {
 public:
  // Opens (and on first use creates) the phone in the folder `root`, boots it, and makes it the current device until
  // it is destroyed; null with the reason in *error when the folder cannot be used or another process holds the phone.
  // A second phone in one process at the same time aborts.
  static std::unique_ptr<SimulatedDevice> open(const std::string& root, std::string* error);

  // Makes the folder of a new phone as its first boot leaves it, or, where it has the file "sim/boots", what every boot
  // makes again. No phone is open then. False with the reason in *error.
  static bool make(const std::string& root, std::string* error);

  // Ends every sleep of the phone and waits for its threads.
  ~SimulatedDevice();

  // The phone that is open now; aborts when there is none.
  static SimulatedDevice& current();

  // The phone that is open now, or null.
  static SimulatedDevice* open_now();

  // Does what the platform does at a master clear: wipes data and cache, and reboots the phone a second later.
  void master_clear();

  // Does what the kernel does about a cable that is gone: it switches off a phone that waits for that, with a "1" in
  // kPowerOffStatus.
  static constexpr char kPowerOffStatus[] = "/sys/kernel/atd_mid/atd_status";
  void heed_cable();

  // Restarts the phone in place: what a reboot loses is lost, what it keeps is kept.
  void reboot();

  // How often the phone has booted since it was made, and when it did so last, on the phone's own clock.
  int boots() const { return boots_; }
  time_t booted() const { return booted_; }

  // The absolute path of the root folder, without a trailing slash.
  const std::string& root() const { return root_; }

  // Where an absolute device path lies below the root: `resolve`. "" with an error in the main log for a path that
  // leads to a FIFO or a device node, or nowhere.
  std::string path(const std::string& device_path, Last last = Last::followed) const;

 private:
  // Has a property read when this many milliseconds have passed, unless they are negative: what is due then happens.
  void read_later(const char* property, int milliseconds);

  explicit SimulatedDevice(std::string root, int lock);

  std::string root_;
  int lock_;
  int boots_ = 0;
  time_t booted_ = 0;

 public:
  // Whether what must survive a power loss (factory items, the modem's items and files, "persist." properties) is on
  // the medium before its write is answered. Without it a kill still leaves the old or the new content.
  std::atomic<bool> syncs_writes{true};

  Clock clock;
  Faults faults;
  Logs logs;
  Properties properties;
  FactoryItems items;
  Modem modem;
  Input input;
  Fingerprint fingerprint;
  Bluetooth bluetooth;
  Readings readings;
  Display display;
  Rtc rtc;
  Power power;
  Scsi scsi;
  Usb usb;
  Partitions partitions;
  DeletionService deletion_service;
  Shell shell;
  Sockets sockets;
  Threads threads;
  Host host;
  Card card;
  // The last: its thread uses the others.
  VolumeDaemon volume_daemon;
};

}  // namespace atd::sim
