#include "common/randomUnit.h"

#include <gtest/gtest.h>

using namespace Vantor::Sample;

// The hashes come from a separate program of a few lines (unbounded integers, reduced modulo 2^64
// after every step); the last index was searched for one whose hash rounds up to 1 as a float.
TEST(RandomUnit, StreamIsFrozen) {
    struct Case {
        std::uint64_t index, seed, hash;
        double unit;
    };
    constexpr std::uint64_t kMax = ~0ULL;
    for (const Case& c :
         {Case{0, 0, 0, 0}, Case{1, 0, 0x4e174ac2e22b6b31, 0x1.385d2b0b88adbp-2},
          Case{0, 1, 0x985edf2868b2dc36, 0x1.30bdbe50d165cp-1},
          Case{1, 2, 0x632a9ed59e615983, 0x1.8caa7b5679856p-2},
          Case{65536, kMax, 0x9e7ca2754ad3ac39, 0x1.3cf944ea95a76p-1},
          Case{kMax, 33, 0xa6b0e85cee417e03, 0x1.4d61d0b9dc830p-1},
          Case{12345678901234567, 987654321, 0x980f8d4a3ad535de, 0x1.301f1a9475aa7p-1}}) {
        EXPECT_EQ(randomHash(c.index, c.seed), c.hash) << c.index << " under " << c.seed;
        EXPECT_EQ(randomUnit<double>(c.index, c.seed), c.unit) << c.index << " under " << c.seed;
        EXPECT_NEAR(randomUnit<float>(c.index, c.seed), c.unit, 0x1p-24);
    }
    EXPECT_EQ(randomUnit<float>(19635760, 1), 1.0F);
    EXPECT_LT(randomUnit<double>(19635760, 1), 1.0);
    // The hashes 0x8000008000000001 and 0x4000004000000001, a little more than halfway between two
    // floats: as doubles they would be halfway, and go down from there.
    EXPECT_EQ(randomUnit<float>(15817163808930874543ULL, 3), 0x1.000002p-1F);
    EXPECT_EQ(randomUnit<float>(14212030101119858885ULL, 3), 0x1.000002p-2F);
}
