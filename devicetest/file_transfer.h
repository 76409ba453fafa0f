// A whole file for a host, in pieces: one file at a time, on one thread.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// The most bytes of a file in one reply.
#define FILE_CMD_DATA_SIZE 2048

// The reply to a file command.
struct file_cmd_reply {
  uint32_t type;    // the command
  uint32_t size;    // open: the file's size; read: the position behind these bytes; close: the file's size
  uint32_t length;  // read: the number of data bytes
  uint8_t data[FILE_CMD_DATA_SIZE];
};

// Runs a file command: 0 opens the file of an absolute device path and takes it into memory, 1 reads the next bytes, of
// which there are none at its end, 2 closes. 0, or -1 for another type and for a file that is missing, unreadable,
// empty, or larger than the reply can tell.
int get_file_command(int type, const char* path, file_cmd_reply* reply);

// Takes the file of an absolute device path into memory, in place of the one before. Returns its size in bytes; 0 when
// it cannot be read whole, and when there is no memory for it.
uint32_t get_file_length(const char* path);

// Copies the next bytes of the file in memory, at most FILE_CMD_DATA_SIZE; their number.
uint32_t get_file_data(void* out);

// Creates or empties the file of an absolute device path and writes n bytes; 0, or -1 when it cannot be opened. A write
// that falls short is not noticed.
int save_file(const char* path, const void* buf, unsigned n);

#pragma GCC visibility pop
