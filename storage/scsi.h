// What the UFS device says about itself.
#pragma once

#pragma GCC visibility push(default)

// Reports the field of the UFS device that the text names, "vendor" or the firmware's "level", in the log. 0, or 1 on a
// user build, for another text or a null pointer, and when the device does not tell.
int do_scsi_command_read(const char* arg);

#pragma GCC visibility pop
