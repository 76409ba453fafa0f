// Security labels, as the platform's libselinux has them.
#pragma once

extern "C" {

// Gives a file the label that the policy has for its path; with flags 0 the file alone. 0, or -1 with errno.
int selinux_android_restorecon(const char* path, unsigned flags);

}  // extern "C"
