// Pictures averaged row by row, against sums over each result pixel by itself in exact numbers.

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <random>
#include <shared/rowscaler.h>
#include <vector>

using vellum::plugin::Axis;
using vellum::plugin::RowScaler;
using vellum::plugin::SampleLayout;
using vellum::plugin::Taps;

namespace vellum::plugin {

void PrintTo(const SampleLayout &layout, std::ostream *out)
{
    *out << layout.count << " samples of " << layout.bytes << " bytes, alpha " << layout.alpha;
}

} // namespace vellum::plugin

namespace {

constexpr SampleLayout kLayouts[] = {
    {1, 1, -1}, {3, 1, -1}, {4, 1, -1}, {4, 1, 3}, {4, 1, 0}, {7, 1, -1},
    {1, 2, -1}, {3, 2, -1}, {4, 2, -1}, {4, 2, 3}, {4, 2, 0}, {5, 2, -1},
};

/// Samples of any width, and how they are kept in bytes.
struct Pixels
{
    SampleLayout layout;
    int width;
    int height;
    std::vector<uchar> bytes;

    Pixels(const SampleLayout &of, int w, int h)
        : layout(of), width(w), height(h), bytes(size_t(w) * size_t(h) * size_t(of.pixelBytes()))
    {
    }

    uchar *row(int y) { return bytes.data() + size_t(y) * size_t(width * layout.pixelBytes()); }
    const uchar *row(int y) const { return const_cast<Pixels *>(this)->row(y); }

    int sample(int x, int y, int c) const
    {
        const uchar *const at = row(y) + (x * layout.count + c) * layout.bytes;
        quint16 wide = *at;
        if (layout.bytes == 2)
            std::memcpy(&wide, at, sizeof wide);
        return wide;
    }
};

Pixels noise(const SampleLayout &layout, int width, int height)
{
    Pixels pixels(layout, width, height);
    std::mt19937 random(unsigned(width + height));
    for (uchar &byte : pixels.bytes)
        byte = uchar(random() >> 24);
    return pixels;
}

Pixels scaled(const Pixels &in, const Axis &columns, const Axis &rows)
{
    Pixels out(in.layout, columns.count(), rows.count());
    const auto scaler = RowScaler::make(in.layout, columns, rows.relativeTo(rows.begin()));
    int done = 0;
    for (int y = rows.begin(); y < rows.end(); ++y) {
        scaler->add(in.row(y));
        while (scaler->hasRow())
            scaler->take(out.row(done++));
    }
    EXPECT_EQ(done, rows.count());
    return out;
}

int weightAt(const Taps &taps, int i)
{
    return i == 0 ? taps.firstWeight : i == taps.count - 1 ? taps.lastWeight : Taps::kWholePixel;
}

quint64 rounded(quint64 sum, quint64 weight) { return (2 * sum + weight) / (2 * weight); }

/// What sample \a c of a result pixel must be.
quint64 expected(const Pixels &in, const Taps &across, const Taps &down, int c)
{
    const int alpha = in.layout.alpha;
    // Of 16-bit samples less is kept, so that sums over large areas have room.
    const quint64 less = in.layout.bytes == 1 ? 1 : 256;
    quint64 sum = 0;
    quint64 alphas = 0;
    for (int j = 0; j < down.count; ++j) {
        for (int i = 0; i < across.count; ++i) {
            const auto sample = [&](int index) {
                return quint64(in.sample(across.first + i, down.first + j, index));
            };
            const auto weight = quint64(weightAt(across, i)) * quint64(weightAt(down, j));
            const bool isColor = alpha >= 0 && c != alpha;
            sum += (isColor ? sample(c) * sample(alpha) / less : sample(c)) * weight;
            if (isColor)
                alphas += sample(alpha) * weight;
        }
    }
    if (alpha < 0 || c == alpha)
        return rounded(sum, quint64(across.total() * down.total()));
    // The product would not fit.
    return alphas == 0 ? 0 : quint64(double(sum) / double(alphas) * double(less) + 0.5);
}

void expectMeans(const Pixels &in, const Axis &columns, const Axis &rows)
{
    const Pixels out = scaled(in, columns, rows);
    for (int y = 0; y < out.height; ++y) {
        for (int x = 0; x < out.width; ++x) {
            for (int c = 0; c < in.layout.count; ++c) {
                ASSERT_EQ(quint64(out.sample(x, y, c)), expected(in, columns[x], rows[y], c))
                    << in.width << " x " << in.height << " to " << out.width << " x " << out.height
                    << ", sample " << c << " of pixel " << x << ", " << y;
            }
        }
    }
}

Axis whole(int from, int to) { return {0, double(from), to, 0, to, from}; }

class RowScaling : public testing::TestWithParam<SampleLayout>
{
};

INSTANTIATE_TEST_SUITE_P(Layouts, RowScaling, testing::ValuesIn(kLayouts),
                         [](const auto &layout) { return "Layout" + std::to_string(layout.index); });

} // namespace

TEST_P(RowScaling, EveryPixelIsTheMeanOfTheAreaUnderIt)
{
    for (const int width : {1, 2, 7, 33, 70}) {
        for (const int to : {1, 2, 5, 31, 33, 64, 90}) {
            for (const int height : {1, 3, 20}) {
                const Pixels in = noise(GetParam(), width, height);
                for (const int lines : {1, 2, 13, 20, 41})
                    expectMeans(in, whole(width, to), whole(height, lines));
            }
        }
    }
}

TEST_P(RowScaling, APartIsThatOfTheWhole)
{
    const Pixels in = noise(GetParam(), 60, 40);
    for (const double start : {0.0, 0.3, 7.5}) {
        for (const int size : {9, 40, 70}) {
            const int count = size / 3;
            expectMeans(in, {start, 51.2, size, count, count, 60},
                        {start, 31.7, size, 2, count, 40});
        }
    }
}

TEST_P(RowScaling, LargeAreasHaveRoom)
{
    for (const int height : {300, 1100}) {
        const Pixels in = noise(GetParam(), 1300, height);
        for (const int to : {1, 3, 20})
            expectMeans(in, whole(1300, to), whole(height, 2));
    }
}

TEST_P(RowScaling, WhiteStaysWhite)
{
    for (const int width : {3, 1000}) {
        Pixels in(GetParam(), width, 700);
        std::fill(in.bytes.begin(), in.bytes.end(), uchar(0xff));
        for (const int to : {1, 2, 17}) {
            for (const int lines : {1, 5, 650, 900}) {
                const Pixels out = scaled(in, whole(width, to), whole(700, lines));
                EXPECT_EQ(out.bytes, std::vector<uchar>(out.bytes.size(), 0xff));
            }
        }
    }
}
