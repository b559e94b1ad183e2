// Complex transforms through the descriptor interface against the
// long-double oracle: every length 1-512, larger smooth and prime lengths,
// ranks 1-3 and 7, batches, strides (negative too), offsets, in and out of
// place, split storage, both precisions, both directions.
#include <gtest/gtest.h>

#include "engine_oracle.h"

namespace {

using namespace orb::dft::test;

// Every length to 512, then primes, prime powers, products of large primes
// and smooth sizes.
TEST(DftiComplex, Lengths) {
    std::vector<int32_t> lengths = {1009, 2048, 2187, 2310, 3125, 4099, 2 * 1009, 97 * 31};
    for (int32_t n = 1; n <= 512; ++n) lengths.push_back(n);
    for (int32_t n : lengths)
        for (bool dbl : {true, false})
            ExpectMatches({.name = std::to_string(n), .is_double = dbl, .lengths = {n}, .in_place = n % 2 == 0,
                    .backward = n % 3 == 0});
}

TEST(DftiComplex, LayoutTable) {
    // Fields in declaration order: name, precision, lengths, count, in place,
    // split, backward, strides, pad, negated axis, scale, ordering, threads.
    const ApiCase cases[] = {
        {.name = "2d", .lengths = {12, 10}},
        {.name = "3d", .lengths = {5, 6, 7}},
        {.name = "7d", .lengths = {2, 3, 2, 1, 2, 5, 2}},
        {.name = "1d batch oop padded", .lengths = {30}, .count = 5, .in_place = false, .pad = 3},
        {.name = "1d stride 2/3", .lengths = {17}, .in_place = false, .unit_in = 2, .unit_out = 3},
        {.name = "1d negative stride", .lengths = {24}, .in_place = false, .unit_in = -1, .unit_out = 2},
        {.name = "2d negative outer, batched", .lengths = {6, 9}, .count = 3, .in_place = false,
         .pad = 1, .negate_axis = 0},
        {.name = "3d negative middle in place", .lengths = {4, 5, 3}, .negate_axis = 1},
        {.name = "2d split in place", .lengths = {8, 12}, .split = true},
        {.name = "2d split oop scaled", .lengths = {7, 4}, .in_place = false, .split = true,
         .scale = 0.125},
        {.name = "3d split oop batched padded", .lengths = {3, 4, 5}, .count = 3, .in_place = false,
         .split = true, .pad = 2, .negate_axis = 1, .scale = 2.0},
        {.name = "2d split batched threads", .lengths = {16, 10}, .count = 5, .split = true,
         .thread_limit = 2},
        {.name = "2d split user threads", .lengths = {6, 40}, .split = true, .user_threads = 4},
        {.name = "1d split batched strided", .lengths = {20}, .count = 4, .in_place = false,
         .split = true, .unit_in = 2, .unit_out = -1},
        {.name = "1d split batch in place threads", .lengths = {12}, .count = 6, .split = true,
         .unit_in = 3, .thread_limit = 2},
        {.name = "1d split straight-line batch", .lengths = {9}, .count = 7, .split = true,
         .unit_in = 2, .pad = 1, .thread_limit = 2},
        {.name = "1d split straight-line batch oop", .lengths = {5}, .count = 40, .in_place = false,
         .split = true, .unit_out = -3},
        // Large enough for the split loops to open a parallel region.
        {.name = "1d split straight-line batch 2 threads", .lengths = {8}, .count = 4100,
         .split = true, .thread_limit = 2},
        {.name = "1d split batch 2 threads", .lengths = {40}, .count = 820, .in_place = false,
         .split = true, .unit_out = 2, .thread_limit = 2},
        {.name = "1d split single transform", .lengths = {64}, .in_place = false, .split = true},
        // Split batches of lengths without straight-line kernels run as one
        // engine plan: counts off the vector width, strides, in place.
        {.name = "1d split engine batch odd count", .lengths = {64}, .count = 13, .in_place = false,
         .split = true, .pad = 3, .scale = 0.5},
        {.name = "1d split engine batch in place strided", .lengths = {32}, .count = 9, .split = true,
         .backward = true, .unit_in = -2},
        {.name = "1d split engine batch 2 threads", .lengths = {64}, .count = 1000, .split = true,
         .thread_limit = 2},
        {.name = "1d split long rows", .lengths = {1024}, .count = 3, .in_place = false, .split = true},
        {.name = "1d split long row in place", .lengths = {1024}, .split = true, .backward = true},
        {.name = "2d split codelet rows and columns", .lengths = {64, 64}, .split = true, .scale = 0.25},
        {.name = "1d split straight-line in place strided", .lengths = {7}, .split = true,
         .unit_in = -2, .scale = 0.25},
        {.name = "1d split straight-line oop", .lengths = {10}, .in_place = false, .split = true,
         .unit_in = 3, .unit_out = 2},
        {.name = "small cube 8", .lengths = {8, 8, 8}},
        {.name = "cube 8 scaled", .lengths = {8, 8, 8}, .in_place = false, .scale = 0.5},
        {.name = "ordering 49", .lengths = {48}, .ordering = 49},
        {.name = "threads 2 batched", .lengths = {100}, .count = 9, .thread_limit = 2},
        {.name = "unit dimensions", .lengths = {1, 16, 1}, .in_place = false},
        // Small cubes with offsets into both arrays.
        {.name = "cube 7 offsets", .lengths = {7, 7, 7}, .in_place = false, .offset_in = 3, .offset_out = 5},
        {.name = "cube 8 offsets", .lengths = {8, 8, 8}, .in_place = false, .offset_in = 3, .offset_out = 5},
        // One-dimensional rows with offsets: a codelet row, a stage plan,
        // in place and out of place.
        {.name = "1d codelet offsets", .lengths = {8}, .in_place = false, .offset_in = 3, .offset_out = 5},
        {.name = "1d codelet offset in place", .lengths = {16}, .offset_in = 3},
        {.name = "1d codelet batch offsets", .lengths = {12}, .count = 5, .in_place = false, .offset_in = 2,
         .offset_out = 7},
        {.name = "1d stages offsets", .lengths = {1000}, .in_place = false, .offset_in = 5, .offset_out = 1},
        {.name = "1d stages offset in place", .lengths = {96}, .offset_in = 9},
    };
    for (ApiCase c : cases)
        for (bool dbl : {true, false})
            for (bool backward : {false, true}) {
                c.is_double = dbl;
                c.backward = backward;
                SCOPED_TRACE(std::string(dbl ? "double" : "single") + (backward ? " backward" : " forward"));
                ExpectMatches(c);
            }
}

}  // namespace
