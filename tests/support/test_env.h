// Sets or clears (value null) a variable of the running process's
// environment the way the library reads it (GetEnvironmentVariableA on
// Windows, getenv elsewhere): tests and probe scenarios use this, not setenv.
#ifndef ORB_TESTS_TEST_ENV_H
#define ORB_TESTS_TEST_ENV_H

#if defined(_WIN32)
#include <windows.h>
#else
#include <stdlib.h>
#endif

namespace orb::test {

inline void SetEnv(const char *name, const char *value) {
#if defined(_WIN32)
    SetEnvironmentVariableA(name, value);
#else
    if (value) setenv(name, value, 1); else unsetenv(name);
#endif
}

}  // namespace orb::test

#endif
