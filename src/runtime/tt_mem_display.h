#ifndef RUNTIME_TT_MEM_DISPLAY_H
#define RUNTIME_TT_MEM_DISPLAY_H

/// Prints `count` items of memory as a hex dump with a character column. `width` is 'b' for bytes
/// (16 a line), 'h' for 16-bit items (8 a line), anything else for 32-bit items (4 a line), read in
/// host byte order; `addr` need not be aligned. Lines are labelled with the low 32 bits of their
/// address. Returns the length of the last line printed, 0 when `count` is 0.
int tt_mem_display(int width, void const* addr, unsigned count);

/// The same, but the first line is labelled `shown_addr`.
int tt_data_display(int width, void const* data, unsigned count, unsigned long shown_addr);

#endif
