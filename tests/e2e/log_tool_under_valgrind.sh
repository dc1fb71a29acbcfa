#!/bin/sh
# Silent unless valgrind finds something; then the exit status is 99.
exec valgrind --quiet --error-exitcode=99 --leak-check=full \
    --errors-for-leak-kinds=definite,indirect,possible "$PLAIN_LOG_TOOL" "$@"
