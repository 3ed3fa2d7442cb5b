#include <vellum/image/copybytes_p.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

using namespace vellum::image;

namespace {

constexpr size_t kAround = 128; // bytes that must stay as they are, on both sides

class Copying : public testing::TestWithParam<CopyBytes>
{
};

TEST_P(Copying, MovesEveryByteAndTouchesNoOther)
{
    std::vector<uchar> from(600);
    std::iota(from.begin(), from.end(), uchar(1));
    for (size_t at = 0; at < 64; at += 3) {
        for (size_t count = 0; count < 300; ++count) {
            std::vector<uchar> expected(kAround + at + count + kAround, 0x5a);
            std::vector<uchar> to = expected;
            const size_t first = at * 5 % 17; // read from other alignments than written to
            std::copy_n(from.begin() + qptrdiff(first), count,
                        expected.begin() + qptrdiff(kAround + at));

            GetParam()(to.data() + kAround + at, from.data() + first, count);

            ASSERT_EQ(to, expected) << count << " bytes at " << at;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, Copying, testing::Values(copyCached, copyStreaming));

} // namespace
