// Touching the screen without a person.
#pragma once

#pragma GCC visibility push(default)

// Touches the screen at x, y, all in decimal: mode 0 and 5 release, 1 and 4 press, 2 tap, 3 double tap; the fourth text
// is not read. 0, or -1 when there is no touch device or no such mode or the end of a report could not be written. The
// device stays open until the next touch. Touches of several threads take turns.
int ctsa_send_event(char* mode, char* x, char* y, char* unused);

// Writes the supported touch modes to out (12 bytes); 0.
int ctsa_support_list(char* out);

// Writes one press or release, or one event, to an open touch device; 0, or -1 when the last write was short.
int report_event(int fd, int press, int x, int y);
int send_event(int fd, unsigned short type, unsigned short code, int value);

#pragma GCC visibility pop
