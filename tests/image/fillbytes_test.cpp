#include <vellum/image/fillbytes_p.h>

#include <gtest/gtest.h>

#include <vector>

using namespace vellum::image;

namespace {

using Fill = void (*)(uchar *, std::size_t, const Pattern &);

class FillBytes : public testing::TestWithParam<Fill>
{
};

// Both forms must write the same bytes, at every alignment and for every remainder.
TEST_P(FillBytes, RepeatsThePatternFromTheFirstByteAndWritesNothingElse)
{
    const Fill fill = GetParam();
    Pattern pattern;
    for (int i = 0; i < kPatternBytes; ++i)
        pattern[i] = uchar(i * 5 + 1);

    for (int start = 0; start < 18; ++start) {
        for (int count = 0; count < 200; ++count) {
            std::vector<uchar> memory(240, 0);
            fill(memory.data() + start, size_t(count), pattern);
            for (int i = 0; i < int(memory.size()); ++i) {
                const bool inside = i >= start && i < start + count;
                ASSERT_EQ(memory[size_t(i)], inside ? pattern[(i - start) % kPatternBytes] : 0)
                    << "byte " << i << " of " << count << " from " << start;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, FillBytes, testing::Values(fillCached, fillStreaming),
                         [](const auto &form) { return form.index ? "Streaming" : "Cached"; });

} // namespace
