// The USB port: its lock, its compositions, and what is at its other end.
#pragma once

#pragma GCC visibility push(default)

// Waits about one second for the property sys.usb.state to have this value; 1, or 0 when it does not get it.
int wait_for_state(const char* state);

// Reads the kernel's USB lock: the first character of its node less '0', unchecked; 0 where there is no such node, or
// -1.
int get_usb_lock();

// Writes the character '0' + value, unchecked, to the kernel's USB lock; 0, also where there is no such node, or -1.
int set_usb_lock(int value);

// Takes the port to the composition "factory,adb", on a thread of its own; 0, or -1 when there is no thread.
int usb_path_change();

// The same on the caller's thread, for up to three seconds; 0 even where the port does not follow, or -1 when another
// change is running or the lock cannot be read.
int usb_path_change_thread();

// Opens the lock and asks for the composition "factory,adb"; 0, or 1 when the property cannot be set.
int usb_mode_change_user();

// Asks for the composition "factory" and closes the lock; 0, or 1 when the property cannot be set.
int usb_mode_change_factory();

// Opens the lock and asks for the modem's diagnostic composition, "qmicm,adb"; 0, or 1 when the property cannot be set.
int usb_mode_change_cpdm();

// What the kernel says of the port: 1 disconnected, 2 connected, 3 configured, 0 for anything else.
int get_usbstate_from_sys();

#pragma GCC visibility pop
