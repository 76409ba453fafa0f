// The processor's clock.
#pragma once

#pragma GCC visibility push(default)

// Puts the clocks of CPUs 0 to 7 into out (1024 bytes) as the text "0,current,maximum,minimum,1,..." in kHz, a
// CPU without a clock left out, and the text's length into *length; always 0. A text of a node loses its last
// character, the line end.
int get_cpu_freq(char* out, int* length);

// Makes the clock as fast as it goes, or as slow (0); 0, or -1 when the governor cannot be set or the clock not read.
int set_cpu_performance(int mode);

#pragma GCC visibility pop
