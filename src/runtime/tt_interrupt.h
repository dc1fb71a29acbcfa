#ifndef RUNTIME_TT_INTERRUPT_H
#define RUNTIME_TT_INTERRUPT_H

// The signals that end a run. Their handler only notes the first of them: whatever it interrupts,
// an allocation, output or a list that is half changed, goes on as if nothing had happened. The
// program asks for the note where nothing is half done, and ends the run there.
//
// A wait, read or write that still blocks half a second after the signal is interrupted with EINTR,
// so that nothing that the process waits for can hold its end up. A write to a disk is not: the
// kernel finishes it first. Three seconds after the first signal, a further one ends the process
// the default way.

/// Catches `sig`. System calls that it interrupts are restarted, except waits.
void tt_interrupt_catch(int sig);

/// The first signal that was caught, 0 before. It is not forgotten.
int tt_interrupted();

/// Has system calls that block interrupted from now on, the first one after `ms` milliseconds.
/// tt_unblock_end() ends this, unless a caught signal needs it.
void tt_unblock_start(unsigned ms);
void tt_unblock_end();

#endif
