#ifndef RUNTIME_TT_OUTLET_H
#define RUNTIME_TT_OUTLET_H

#include <cstddef>

// Standard output of a program that must not wait for its readers: a terminal after CTRL-S, a pipe
// whose reader sleeps, a journal on a slow disk. Each gets what it can take, and the rest is kept
// for later or dropped. The text of one call is dropped whole or not at all, so a reader who comes
// back gets whole lines, in order. Only a reader who leaves in the middle of a text gets a part.
//
// Other programs may share the terminal, pipe or socket, and their writes must block as before. So
// the mode of the shared description is never changed.

/// From now on neither tt_outlet_write nor the C stream `stdout`, which is replaced by a
/// line-buffered one, waits for a reader. Files are written as before, as the kernel takes their
/// bytes, not a reader.
void tt_outlet_open();

/// Writes a text to standard output, after those that are kept; at most 16 KiB are. Returns how
/// many bytes were written or kept. Before tt_outlet_open it waits until the text is written, and
/// the result is short only after an error.
size_t tt_outlet_write(char const* text, size_t len);

/// To be called at the end of the program. Gives the reader a fifth of a second in all to take what
/// is kept and what is still written afterwards.
void tt_outlet_finish();

#endif
