#ifndef RUNTIME_TT_INTERRUPT_H
#define RUNTIME_TT_INTERRUPT_H

// The signals that end a run. The handler only notes the first of them, so whatever it interrupts
// (an allocation, output, a list that is half changed) goes on as if nothing had happened. The
// program looks at the note where nothing is half done, and ends the run there.
//
// Nothing that the process waits for may hold up its end. So a wait, read or write that still
// blocks half a second after the signal is interrupted with EINTR. A write to a disk is not: the
// kernel finishes it first. From three seconds after the first signal on, another one ends the
// process the default way.

/// Catches `sig`. System calls that it interrupts are restarted, except waits.
void tt_interrupt_catch(int sig);

/// The first signal that was caught, 0 if none was. It stays the same from then on.
int tt_interrupted();

/// Interrupts system calls that block, the first one after `ms` milliseconds. tt_unblock_end()
/// stops this, unless a caught signal needs it.
void tt_unblock_start(unsigned ms);
void tt_unblock_end();

#endif
