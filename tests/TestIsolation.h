#ifndef QDX_TEST_ISOLATION_H
#define QDX_TEST_ISOLATION_H

#include <gtest/gtest.h>

#include <cstdlib>

/// Skips the current test unless it runs in the private mount namespace of
/// tests/isolate.sh, where /tmp, the home folder and /opt are the test's own
/// (as root, or in a user namespace where the kernel allows them).
#define QDX_REQUIRE_ISOLATION()                                                                                        \
    do {                                                                                                               \
        if (std::getenv("QDX_TEST_ISOLATED") == nullptr)                                                               \
            GTEST_SKIP() << "needs a private mount namespace for /tmp, the home folder and /opt "                      \
                            "(tests/isolate.sh: as root, or where user namespaces are allowed)";                       \
    } while (false)

#endif
