// The folders that the phone's logs are in.
#pragma once

#pragma GCC visibility push(default)

// Device paths, each with a "/" at its end.
extern const char* const LOGGER_DIR;
extern const char* const ANR_DIR;
extern const char* const DONTPANIC_DIR;
extern const char* const TOMBSTONES_DIR;
extern const char* const CKERROR_DIR;
extern const char* const DBDUMP_DIR;
extern const char* const MTS_DIR;
extern const char* const NVDUMP_DIR;
extern const char* const TOUCH_DIR;
extern const char* const ENCRYPT_DIR;

#pragma GCC visibility pop
