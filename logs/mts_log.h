// What the MTS log service gets: numbered copies of the folders of crashes, and pictures of the screen.
#pragma once

#pragma GCC visibility push(default)

// Takes a picture of the screen into "/data/mtslog/", named by the real-time clock's time.
void cap_screen();

// Writes the place of a copy, in the folder of the present number, to out (64 bytes): the path's last part, cut at 31
// characters, "dummy" for a path that has none. Always 0.
int set_dest_path(const char* source, char* out);

// Removes the file or the folder at a path, of a link the link alone. Always 0.
int clear_dest(const char* path);

// Copies a file or a folder to its place, which is made and cleared before; 0, also when not all was copied, or -1 when
// there is no such source, its place is the source or holds it, its last part is "." or "..", or the number's folder is
// a link.
int copy_latest(const char* source);

// Copies what crashes of the kernel and of programs have left; always 0.
int copy_to_mtslog();

// Makes the same copies and asks the platform to pack the logs into an archive of that name, by the kind 4, 5 or any
// other; the request's result.
int mts_log_makezip(const char* name, int kind);

// Removes the service's folder and its archive.
void mts_log_erase();

// 0 when the service is active, else 1; they switch nothing.
int mts_log_on();
int mts_log_off();

// Sets *out to 1 when the service works, 0 when it is idle, with the result 0; else both are 2.
int mts_get_status(int* out);

#pragma GCC visibility pop
