// Readings of the analogue-to-digital converter, whose nodes say "Result:450000 Raw:12", in microvolts.
#pragma once

#pragma GCC visibility push(default)

// The number after the last ':' before the first blank, in a terminated text, where the blank becomes a line end; 0
// where no number stands there, and the nearest number of 32 bits for a longer one. -100 when no ':' stands before the
// first blank or the end, -200 when a ':' is followed by no blank.
int adc_to_val(char* text);

// Each writes the millivolts of its node, without a fraction, to `out` (12 bytes): the coin cell, and the power of the
// system. A text that adc_to_val does not understand counts as 0. 0, or 1 with the empty text when the node cannot be
// read or its value is -1000 or less.
int get_vcoin_adc(char* out);
int get_vphpwr_adc(char* out);

// Writes the microvolts of the USB input to `out` (12 bytes). 0, or 1 with the empty text when its node cannot be read
// or understood, or the value is negative.
int get_vbus_adc_value(char* out);

// Writes the millivolts of the board revision's divider to `out` (12 bytes), 0 for a text that adc_to_val does not
// understand. 0, or 1 with the empty text when its node cannot be read.
int get_pcb_rev_adc(char* out);

// Writes the text of the battery ID's node to `out` (128 bytes). 0, or 1 with the empty text when it cannot be read.
int get_battey_id(char* out);

#pragma GCC visibility pop
