// Random programs of floats, integers, vectors, matrices, arrays, switches and functions, with their results.
//
// A module holds many programs; program k writes one word to `results[k]` of the storage buffer at binding 0 and reads
// the numbers of the one at binding 1. All numbers are integers or have few binary places, and are so small that every
// operation on them is exact: whatever the order of operations, and whether or not a product and a sum are fused, there
// is one right result, which an interpreter of the same tree works out here.

#pragma once

#include "RandomProgram.h"

struct RandomFloatModule : RandomModule {
    std::vector<uint32_t> input; // words of the buffer at binding 1
};

/// The same seed gives the same module.
RandomFloatModule create_random_float_module(uint32_t seed, uint32_t num_programs);
