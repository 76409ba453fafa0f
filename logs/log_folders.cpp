#include "logs/log_folders.h"

const char* const LOGGER_DIR = "/data/logger/";
const char* const ANR_DIR = "/data/anr/";
const char* const DONTPANIC_DIR = "/data/dontpanic/";
const char* const TOMBSTONES_DIR = "/data/tombstones/";
const char* const CKERROR_DIR = "/data/system/ckerror/";
const char* const DBDUMP_DIR = "/data/dbdump/";
const char* const MTS_DIR = "/data/mtslog/";
const char* const NVDUMP_DIR = "/data/nvdump/";
const char* const TOUCH_DIR = "/data/touch/";
const char* const ENCRYPT_DIR = "/cache/encryption_log/";
