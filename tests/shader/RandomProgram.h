// Random integer programs with their results.
//
// A module holds many programs; program k writes one word to `results[k]` of the storage buffer at binding 0. What the
// word must be is worked out here, by an interpreter of the tree from which the text is printed. Arithmetic wraps at 32
// bits; divisors are never 0, dividends of "%" never negative, shift counts within the width.

#pragma once

#include <stdint.h>

#include <string>
#include <vector>

struct RandomModule {
    std::string source;             // a compute shader of one invocation
    std::vector<uint32_t> expected; // words of the buffer
};

/// The same seed gives the same module.
RandomModule create_random_module(uint32_t seed, uint32_t num_programs);
