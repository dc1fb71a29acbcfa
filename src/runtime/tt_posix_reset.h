#ifndef RUNTIME_TT_POSIX_RESET_H
#define RUNTIME_TT_POSIX_RESET_H

/// Ends the process with status 0.
[[noreturn]] void tt_reset();

/// Keeps the arguments for tt_restart. They are not copied and must stay valid.
void tt_reset_set_args(int argc, char** argv);

/// The arguments last kept. 0 and null before the first tt_reset_set_args.
void tt_reset_get_args(int* argc, char*** argv);

/// Replaces the process image by argv[0], looked up in PATH, with the arguments kept. Flushes the C
/// streams first. The new image starts with the blocked and ignored signals that this one started
/// with. Panics if no arguments were kept. Returns only if the new image cannot be started, with
/// execvp's result.
int tt_restart();

#endif
