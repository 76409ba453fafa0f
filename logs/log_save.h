// Collecting the phone's logs in one place.
#pragma once

#pragma GCC visibility push(default)

// Writes the name of a save made now, the local time as "20260131_235959", to out (30 bytes).
void set_directory_name(char* out);

// Writes the SD card's folder for saves, "/storage/ID/logsave", to out (110 bytes). 0, or 1 with the empty text when
// the card does not work or has no id.
int get_external_logsave_path(char* out);

// Collects the logs in a folder of the present time below the target, which ends in "/": "/data/factory/logsave/",
// where all saves that are there are then packed into the archive "data/factory/logsave.zip" of the working folder; or
// a folder on the SD card; or a folder with "nvdump" in its path, which gets the NV dump's files themselves. What
// cannot be copied is left out. 0, or 1 for any other target, when the archive cannot be made, or without memory.
int logsave(const char* target);

// Packs a folder with all that is below it into an archive; 0, or 1 when the archive cannot be made or the folder
// cannot be opened. A "/" at the end of the folder's text is removed.
int logsave_makezip(char* archive, char* folder);

#pragma GCC visibility pop
