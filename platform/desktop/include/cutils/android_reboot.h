// The reboot interface.
#pragma once

#define ANDROID_RB_RESTART 0xDEAD0001
#define ANDROID_RB_POWEROFF 0xDEAD0002
#define ANDROID_RB_RESTART2 0xDEAD0003

extern "C" {

// Restarts or powers off the phone; arg is the reason of ANDROID_RB_RESTART2. 0, or negative when it was refused.
int android_reboot(unsigned command, int flags, const char* arg);

}  // extern "C"
