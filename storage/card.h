// The SD card: its volume id, its place and whether it is there. The volume daemon publishes the id while the card has
// a volume.
#pragma once

#pragma GCC visibility push(default)

// Reads the card's volume id into dst (92 bytes); 0, or -1 with the empty text when there is none, or when it holds
// anything but letters, digits, "-", "_" and ".", or is "." or "..".
int read_uuid(char* dst);

// Tests the card as mmc_emt does and writes its folder, "/storage/ID/", into out (102 bytes); 0, or 1 with the empty
// text when the test fails or the card has no id.
int get_sdcard_path(char* out);

// 0 when the card's block device exists, else -1.
int IsSDCardInserted();

// 0 when the card's folder is a mount point; -1 when it is not, or nobody can tell.
int GetSDCardMountStatus();

#pragma GCC visibility pop
