// Keeping the factory items and the modem's numbered items in step with the versions of the phone.
#pragma once

#pragma GCC visibility push(default)

// Copies the factory software version to the items 14 and 15 where they differ; 0, or 1 at the first step that fails. A
// new item 15 clears the LCD break mode.
int system_write_version_info();

// Copies the modem's product ID to item 4 where they differ; 0, or 1 on failure.
int system_write_pid_info();

// Copies the software version, the hardware version and the model's name to the modem's numbered items; 0, or 1 at the
// first that fails.
int nv_factoryitem_sync();

// Each of them: 0 when the modem has the text, and for a missing or too short one (under 6, 1 and 4 characters), which
// is not written. 1 when the software version cannot be read, or the modem does not take or keep the text.
int system_nvwrite_version_info();
int system_nvwrite_hwversion_info();
int system_nvwrite_model_name_info();

#pragma GCC visibility pop
