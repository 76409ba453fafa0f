// The library behind a phone's AT-command daemon, for a host daemon: everything that the shared library exports.
//
// A host opens the factory items (init_factory_item) and the modem interface (init_modem_interface), then serves the
// socket (init_socket). From then on requests of the platform run on the socket's own thread, one at a time. The host
// calls the other functions on threads of its own, on several at once: requests to the modem and the platform, openings
// of the modem interface and touches take turns by themselves. The rest does not. One transfer of the modem's bulk data
// runs at a time. The functions of the modem's file system run on one thread at a time, with no other request to the
// modem meanwhile. On one thread at a time run the functions of the SD card, those that write dumps, those of the
// automatic test and its file transfer, the factory resets, the saves and erasures of logs, the unpacking of archives,
// which changes the working folder, the touch test's result, the Bluetooth commands, get_qem and set_qem, which write
// qem_get_status, and get_usb_id_adc, which writes cable. stop_socket ends what waits and tells the clients.
//
// Texts are terminated. A buffer is the caller's and holds at least the bytes that its contract names.
#pragma once

#define ATD_VERSION "0.7.0"

#include "transport/socket.h"           // serving the socket
#include "transport/synchronisation.h"  // Mutex, CondVar
#include "channel/request_channel.h"    // requests to the modem and the platform
#include "input/keys.h"                 // pressing keys
#include "input/touch.h"                // touching the screen
#include "factory/items.h"              // factory items by name
#include "factory/bluetooth_address.h"  // the Bluetooth address
#include "factory/modem_items.h"        // the modem's identity and calibration records
#include "factory/modem_channel.h"      // the modem's bulk data and numbered items
#include "factory/camping.h"            // camping on a band
#include "factory/efs.h"                // the modem's file system
#include "storage/card.h"               // the SD card's id, place and presence
#include "storage/volume.h"             // mounting and formatting the SD card
#include "storage/default_contents.h"   // the list of the SD card's default contents
#include "storage/card_contents.h"      // checking and restoring the default contents
#include "storage/card_test.h"          // testing the SD card
#include "storage/capacity.h"           // sizes of the SD card, the internal storage and the RAM
#include "storage/file_system.h"        // the size of a file system
#include "storage/scsi.h"               // what the UFS device says about itself
#include "system/power.h"               // restart and power-off
#include "system/sleep.h"               // sleep and wake
#include "system/brightness.h"          // the screen's brightness
#include "system/cable_power_off.h"     // power-off when the cable is pulled
#include "system/background.h"          // what goes on after a function has returned
#include "system/environment.h"         // the boot, cables, the boot stages
#include "system/cpu.h"                 // the processor's clock
#include "system/versions.h"            // versions
#include "system/version_sync.h"        // versions in factory items and in the modem
#include "system/fixed_area_version.h"  // the version of the fixed software area
#include "system/requests.h"            // other requests to the modem and the platform
#include "system/flight_mode.h"         // flight mode
#include "system/usb.h"                 // the USB port
#include "system/modem_test.h"          // the modem's test mode
#include "system/sysfs.h"               // files and nodes as a whole
#include "system/hw_version.h"          // the hardware version
#include "system/adc.h"                 // readings of the analogue-to-digital converter
#include "system/usb_id.h"              // the factory cable
#include "system/battery.h"             // the battery's temperature, the charger, currents
#include "system/fuel_gauge.h"          // the battery's voltage and level
#include "system/thermal.h"             // temperatures of the chip and the crystal
#include "system/board.h"               // the real-time clock, the back cover
#include "bluetooth/response.h"         // how a Bluetooth command answers
#include "bluetooth/address.h"          // commands of the Bluetooth address
#include "bluetooth/test_mode.h"        // the Bluetooth controller's test mode
#include "bluetooth/le_test.h"          // tests of Bluetooth Low Energy
#include "bluetooth/usb_relay.h"        // Low Energy commands from the USB port
#include "devicetest/test_set.h"        // the set of the automatic test
#include "devicetest/test_order.h"      // its order
#include "devicetest/test_results.h"    // results and verdict
#include "devicetest/fingerprint.h"     // tests of the fingerprint sensor
#include "devicetest/touch_version.h"   // the touch firmware's version
#include "devicetest/file_transfer.h"   // files for a host, in pieces
#include "devicetest/mid_tool.h"        // the MID test tool
#include "devicetest/misc_partition.h"  // bytes in a partition
#include "logs/log_folders.h"           // where the logs are
#include "logs/log_copy.h"              // copying a folder of logs
#include "logs/log_save.h"              // collecting the logs
#include "logs/log_erase.h"             // erasing them
#include "logs/touch_result.h"          // the result of the touch test
#include "logs/crash_log.h"             // the records of crashes
#include "logs/file_copy.h"             // copying files and folders
#include "logs/mts_log.h"               // the MTS log service
#include "logs/screen_capture.h"        // pictures of the screen
#include "logs/zip_maker.h"             // packing folders into archives, unpacking archives
#include "logs/unpack.h"                // unpacking one entry
#include "logs/checksum.h"              // small checksums
#include "logs/code_crc.h"              // the CRC of the software partitions
#include "logs/file_crc.h"              // the CRC of the phone's files
#include "logs/nv_crc.h"                // the CRC of the modem's numbered items
#include "logs/dump.h"                  // dumps of files and of the phone's status
#include "logs/crc_command.h"           // the CRC commands by number
#include "reset/factory_reset.h"        // the factory reset's steps
#include "reset/hidden_reset.h"         // factory resets from the hidden menu
#include "reset/data_deletion.h"        // deleting the user's data
#include "reset/erase.h"                // erasing the cache partition
#include "reset/production_reset.h"     // production resets
#include "dispatch/diag_tty.h"          // the diagnostic tty's switch
