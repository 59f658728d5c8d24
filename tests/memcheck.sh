#!/usr/bin/env bash
# Runs a test program under valgrind's memcheck: any memory error, and any
# block definitely lost at exit, makes it fail (exit code 99). Nothing is
# suppressed. Used by the memcheck copies of the interface tests through the
# isolating launcher (QDX_TEST_LAUNCHER).
#   memcheck.sh PROGRAM [ARGUMENTS...]
set -euo pipefail
exec valgrind --quiet --tool=memcheck --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
    --show-leak-kinds=definite --track-origins=yes "$@"
