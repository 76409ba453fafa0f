// The switch of the diagnostic tty.
#pragma once

#pragma GCC visibility push(default)

// Blocks (any value but 0) or unblocks the diagnostic tty for whoever reads it.
void set_diag_tty_block(int block);

// 1 while the diagnostic tty is blocked, else 0: its reader asks before it reads.
int diag_tty_blocked();

#pragma GCC visibility pop
