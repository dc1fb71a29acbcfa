#ifndef RUNTIME_TT_OUTLET_H
#define RUNTIME_TT_OUTLET_H

#include <cstddef>

// Standard output of a program that waits for none of its readers. A terminal after CTRL-S, a pipe
// whose reader sleeps, a journal on a slow disk: each takes what it can, the rest is kept for later
// or dropped. A text, that is what one call writes, is dropped whole or not at all, so a reader who
// comes back gets whole lines, in order.
//
// The terminal, pipe or socket may be shared with other programs, whose writes are to block as
// before. So the mode of the shared description is never changed.

/// From now on nothing waits: neither tt_outlet_write nor the C stream `stdout`, which is replaced
/// by a line-buffered one. A file is written as before: the kernel, not a reader, takes its bytes.
void tt_outlet_open();

/// Writes a text to standard output, after those that are kept, of which there are at most 16 KiB.
/// Returns how many bytes were written or kept. Before tt_outlet_open it waits until the text is
/// written, and the result is short only after an error.
size_t tt_outlet_write(char const* text, size_t len);

/// The program ends: gives the reader a fifth of a second, once, for what is kept and what is still
/// to come.
void tt_outlet_finish();

#endif
