// The resistor at the USB connector's ID pin, which tells the factory cables apart.
#pragma once

#include <stdint.h>

#pragma GCC visibility push(default)

// The factory cables: a reading above the first number and up to the second, in millivolts, is the cable of the third,
// in kilo-ohms. get_usb_id_adc changes it on some boards and runs on one thread at a time.
extern int32_t cable[3][3];

// Puts the rows of the boards that have another divider into a table: those of the products "k4_bqr_xy..." and
// "k4n_bqr_xy..." from the hardware version "0.b_1" on.
void check_cable_tbl_exception(int32_t (*table)[3]);

// Writes the microvolts at the ID pin and the cable, 0 for none, to `out` (24 bytes): "450000,56". 0, or 1 with the
// empty text when the node cannot be read or understood, or the value is negative.
int get_usb_id_adc(char* out);

// Writes the text of the ID pin's node to `out` (128 bytes). 0, or 1 with the empty text when it cannot be read.
int get_usbidadc_status(char* out);

#pragma GCC visibility pop
