// Sleep and wake, in a normal boot by the platform and in a factory boot by the kernel's nodes.
#pragma once

#pragma GCC visibility push(default)

// Put the phone to sleep, and wake it; 0, 1 when a part of it failed in a factory boot, or the error of
// request_to_system in a normal one.
int system_sleep();
int system_wakeup();

// Asks the platform to sleep, or to wake (0); 0, or the error of request_to_system.
int system_android_sleep(int on);

// 1 when the screen's brightness begins with '0', else 0.
int get_sleep_mode();

// 1 in a factory or other special boot, 0 in a normal one.
int normal_mode_check();

// The factory boot mode, 1 or 2, or 0 for any other boot.
int system_get_factory_mode();

#pragma GCC visibility pop
