#include "tt_posix_reset.h"

#include <cstdio>
#include <cstdlib>

#include <unistd.h>

#include "tt_panic.h"

static int s_argc = 0;
static char** s_argv = nullptr;

void tt_reset()
{
    exit(0);
}

void tt_reset_set_args(int argc, char** argv)
{
    s_argc = argc;
    s_argv = argv;
}

void tt_reset_get_args(int* argc, char*** argv)
{
    *argc = s_argc;
    *argv = s_argv;
}

int tt_restart()
{
    if (!s_argv)
        tt_assert_failed("tt_posix_reset", 39);
    fflush(stdout); // what the C stream still holds would go with the process image
    return execvp(s_argv[0], s_argv);
}
