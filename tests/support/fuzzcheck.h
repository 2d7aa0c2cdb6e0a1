// SPDX-License-Identifier: LGPL-3.0-or-later
#pragma once

// Invariant checks of the libFuzzer targets.
#include <cstdio>
#include <cstdlib>

// Names the failed invariant, so a crash report says which one.
#define check(ok)                                                                                  \
    do {                                                                                           \
        if (!(ok)) {                                                                               \
            std::fprintf(stderr, "invariant failed, line %d: %s\n", __LINE__, #ok);                \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)
