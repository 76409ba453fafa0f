// The modem vendor's diagnostic packets.
#pragma once

extern "C" {

// A packet of `length` bytes with its first one set to `code`; null when there is no memory. Freed by diagpkt_free.
void* diagpkt_alloc(unsigned code, unsigned length);

// Gives a packet back; a null pointer is left alone.
void diagpkt_free(void* packet);

}  // extern "C"
