#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <support/images.h>
#include <support/process.h>
#include <tuple>
#include <utility>
#include <vector>

using namespace vellum::test;

namespace {

constexpr int kMost = std::numeric_limits<int>::max();

using Images = std::vector<std::unique_ptr<Vellum>>;

Images channelImages(Vellum &image, bool to8Bit, bool freeData)
{
    Images images;
    for (Vellum *const channel : image.getChannelsImage(to8Bit, freeData))
        images.emplace_back(channel);
    return images;
}

/// An image with a channel buffer full of noise, which it frees.
struct Channels
{
    Channels(int width, int height, int channelCount, int bitsPerSample,
             Storage storage = Storage::Plain)
        : image(makeImage(width, height, QImage::Format_Mono, storage)), count(channelCount),
          bits(bitsPerSample)
    {
        data = image.allocChannelsData(channelCount, bitsPerSample, stride);
        std::mt19937 random(7);
        for (int i = 0; data && i < stride * height; ++i)
            data[i] = uchar(random() >> 24);
    }
    ~Channels() { image.freeChannelsData(); }
    Channels(const Channels &) = delete;
    Channels &operator=(const Channels &) = delete;

    /// The sample as it lies in the buffer, low byte first.
    int sample(int c, int x, int y) const
    {
        const uchar *const p = data + y * stride + (x * count + c) * (bits / 8);
        return bits == 8 ? p[0] : p[0] | p[1] << 8;
    }

    Vellum image;
    int count;
    int bits;
    int stride = -1;
    uchar *data = nullptr;
};

using Geometry = std::tuple<int, int, int, int, int>; // width, height, channels, bits, stride

class Stride : public testing::TestWithParam<Geometry>
{
};

TEST_P(Stride, IsTheRowRoundedUpToFourBytes)
{
    const auto [width, height, count, bits, expected] = GetParam();
    const Channels channels(width, height, count, bits);

    EXPECT_NE(channels.data, nullptr);
    EXPECT_EQ(channels.stride, expected);
}

INSTANTIATE_TEST_SUITE_P(Channels, Stride,
                         testing::Values(Geometry {5, 2, 3, 8, 16}, Geometry {3, 1, 2, 16, 12},
                                         Geometry {1, 1, 1, 8, 4}, Geometry {1, 1, 1, 16, 4},
                                         Geometry {4, 3, 1, 8, 4}, Geometry {5, 3, 1, 8, 8},
                                         Geometry {7, 3, 5, 16, 72}, Geometry {33, 2, 4, 8, 132}));

class ImagesOfChannels : public testing::TestWithParam<std::tuple<int, int, bool, Storage>>
{
};

TEST_P(ImagesOfChannels, HoldTheSamples)
{
    const auto [count, bits, to8Bit, storage] = GetParam();
    for (const int width : {1, 2, 3, 4, 5, 13, 64}) {
        Channels channels(width, 7, count, bits, storage);

        const Images images = channelImages(channels.image, to8Bit, false);

        ASSERT_EQ(int(images.size()), count);
        const bool wide = bits == 16 && !to8Bit;
        for (int c = 0; c < count; ++c) {
            const Vellum &image = *images[size_t(c)];
            ASSERT_EQ(image.size(), QSize(width, 7));
            ASSERT_EQ(image.format(),
                      wide ? QImage::Format_Grayscale16 : QImage::Format_Grayscale8);
            ASSERT_FALSE(image.isBigImage());
            ASSERT_TRUE(image.isDetached());
            for (int y = 0; y < 7; ++y) {
                for (int x = 0; x < width; ++x) {
                    const uchar *const row = image.scanLineEx(y);
                    const int value =
                        wide ? reinterpret_cast<const quint16 *>(row)[x] : int(row[x]);
                    const int sample = channels.sample(c, x, y);
                    ASSERT_EQ(value, bits == 16 && to8Bit ? sample >> 8 : sample)
                        << "channel " << c << " at " << x << ", " << y;
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Channels, ImagesOfChannels,
                         testing::Combine(testing::Values(1, 2, 3, 5), testing::Values(8, 16),
                                          testing::Bool(), testing::ValuesIn(kStorages)));

TEST(Channels, BufferCanBeWrittenToItsEnd)
{
    Channels channels(5, 2, 3, 8);
    for (int i = 0; i < 32; ++i)
        channels.data[i] = uchar(i); // AddressSanitizer knows its size
    EXPECT_EQ(channels.sample(2, 4, 1), 30);
}

TEST(Channels, BufferStaysUnlessItIsToBeFreed)
{
    Channels channels(3, 1, 2, 16);

    EXPECT_EQ(channelImages(channels.image, true, false).size(), 2U);
    EXPECT_EQ(channelImages(channels.image, false, true).size(), 2U);
    EXPECT_TRUE(channelImages(channels.image, false, false).empty());
    EXPECT_TRUE(channelImages(channels.image, false, true).empty());
}

TEST(Channels, FreedBufferGivesNoImages)
{
    Channels channels(3, 1, 2, 16);
    channels.image.freeChannelsData();
    EXPECT_TRUE(channelImages(channels.image, true, true).empty());
    channels.image.freeChannelsData();
}

TEST(Channels, WithoutABufferThereAreNoImages)
{
    Vellum image(3, 3, QImage::Format_RGB32);
    EXPECT_TRUE(image.getChannelsImage(false, false).isEmpty());
    EXPECT_TRUE(image.getChannelsImage(true, true).isEmpty());
    image.freeChannelsData();
}

TEST(Channels, ImagesOutliveTheImageTheyCameFrom)
{
    Images images;
    {
        Channels channels(5, 4, 2, 8);
        images = channelImages(channels.image, false, true);
    }
    EXPECT_EQ(images.at(1)->size(), QSize(5, 4));
    EXPECT_GE(images.at(1)->scanLineEx(3)[4], 0);
}

TEST(Channels, OtherSampleSizesAreRefused)
{
    Vellum image(5, 5, QImage::Format_RGB32);
    for (const int bits : {0, 1, 7, 9, 12, 15, 17, 24, 32, 64, -8, -16, kMost}) {
        int stride = -1;
        EXPECT_EQ(image.allocChannelsData(3, bits, stride), nullptr) << bits;
        EXPECT_EQ(stride, 0) << bits;
        EXPECT_TRUE(image.getChannelsImage(false, true).isEmpty()) << bits;
    }
}

TEST(Channels, SizesThatOverflowAreRefused)
{
    Vellum image = makeUntouchable(20000, 20000, QImage::Format_Mono);
    for (const auto &[channels, bits] :
         {std::pair(-1, 8), {kMost, 8}, {kMost, 16}, {6, 8}, {3, 16}, {107375, 8}, {1 << 20, 16}}) {
        int stride = -1;
        EXPECT_EQ(image.allocChannelsData(channels, bits, stride), nullptr) << channels;
        EXPECT_EQ(stride, 0);
        EXPECT_TRUE(image.getChannelsImage(false, true).isEmpty());
    }
}

TEST(Channels, LongRowThatStillFitsIsAllocated)
{
    if (kSanitized)
        GTEST_SKIP() << "1.2 GB of shadow memory";
    Vellum image = makeUntouchable(1200000000, 1, QImage::Format_Mono);
    ASSERT_FALSE(image.isNull());
    int stride = -1;

    EXPECT_NE(image.allocChannelsData(1, 8, stride), nullptr);

    EXPECT_EQ(stride, 1200000000);
    image.freeChannelsData();
}

TEST(Channels, GreatestRowIsRefusedWhenRoundingOverflows)
{
    Vellum image = makeUntouchable(kMost - 40, 1, QImage::Format_Mono);
    if (image.isNull())
        GTEST_SKIP() << "QImage has no image of this width";
    int stride = -1;
    EXPECT_EQ(image.allocChannelsData(1, 16, stride), nullptr);
    EXPECT_EQ(stride, 0);
}

// No combination of refused arguments and a huge image may overflow on the way to an answer.
TEST(Channels, AbsurdArgumentsAreHarmless)
{
    Vellum image = makeUntouchable(200000, 200000, QImage::Format_Mono);
    for (const int channels : {kMost, -kMost - 1, 0, 1}) {
        for (const int bits : {kMost, -kMost - 1, 0, 8, 16}) {
            int stride = -1;
            if (image.allocChannelsData(channels, bits, stride))
                image.freeChannelsData();
            EXPECT_TRUE(image.getChannelsImage(true, true).isEmpty());
            EXPECT_TRUE(image.getChannelsImage(false, true).isEmpty());
        }
    }
}

TEST(Channels, BufferOfASmallImageIsNotReadForALargeOne)
{
    for (const int channels : {1, 3}) {
        Channels small(3, 2, channels, 16);
        ASSERT_TRUE(Vellum::create(small.image, 300, 200, QImage::Format_Mono));
        EXPECT_TRUE(channelImages(small.image, false, false).empty());
    }
}

// The size asked for, 2^17 * 2^17 * 2^30 bytes, has 65 bits: the lower 64 are zero.
TEST(Channels, BufferOfManyChannelsIsNotReadForAHugeImage)
{
    if (kSanitized)
        GTEST_SKIP() << "1 GB of shadow memory";
    Vellum image(1, 1, QImage::Format_Mono);
    int stride = 0;
    ASSERT_NE(image.allocChannelsData(1 << 30, 8, stride), nullptr);

    image = makeUntouchable(1 << 17, 1 << 17, QImage::Format_Mono);

    EXPECT_TRUE(image.getChannelsImage(false, true).isEmpty());
}

TEST(Channels, BufferOfALargeImageIsReadWithTheStrideOfTheSmallOne)
{
    Channels channels(30, 20, 3, 8);
    ASSERT_TRUE(Vellum::create(channels.image, 3, 2, QImage::Format_Mono));
    channels.stride = 12;

    const Images images = channelImages(channels.image, false, false);

    ASSERT_EQ(images.size(), 3U);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x)
            EXPECT_EQ(images[2]->scanLineEx(y)[x], channels.sample(2, x, y));
    }
}

TEST(Channels, AnotherBufferReplacesTheOneThatWasFreed)
{
    Channels channels(5, 2, 3, 8);
    channels.image.freeChannelsData();
    channels.data = channels.image.allocChannelsData(1, 16, channels.stride);
    ASSERT_NE(channels.data, nullptr);
    EXPECT_EQ(channels.stride, 12);
    std::memset(channels.data, 0x5a, 24);

    const Images images = channelImages(channels.image, false, false);

    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(reinterpret_cast<const quint16 *>(images[0]->scanLineEx(1))[4], 0x5a5a);
}

TEST(Channels, BufferIsNotShared)
{
    Channels channels(5, 2, 3, 8);
    Vellum copy = channels.image;
    EXPECT_TRUE(copy.getChannelsImage(false, true).isEmpty());
    EXPECT_EQ(channelImages(channels.image, false, false).size(), 3U);
}

TEST(Channels, BufferSurvivesAnAssignmentAndTheImage)
{
    uchar *data = nullptr;
    {
        Vellum image(5, 2, QImage::Format_RGB32);
        int stride = 0;
        data = image.allocChannelsData(3, 8, stride);
        image = Vellum(5, 2, QImage::Format_RGB32);
        EXPECT_EQ(channelImages(image, false, false).size(), 3U);
    }
    ASSERT_NE(data, nullptr);
    data[31] = 1; // the caller's to free
    std::free(data);
}

TEST(Channels, NullImageHasEmptyChannels)
{
    Vellum image;
    int stride = -1;
    image.allocChannelsData(3, 8, stride);
    EXPECT_EQ(stride, 0);
    for (Vellum *const channel : image.getChannelsImage(false, true)) {
        EXPECT_TRUE(channel->isNull());
        delete channel;
    }
}

TEST(Channels, BufferCanBeReadWithoutCopying)
{
    const Channels channels(5, 2, 3, 16);
    int count = 0;
    int bits = 0;
    int stride = 0;
    EXPECT_EQ(channels.image.channelsData(count, bits, stride), channels.data);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(bits, 16);
    EXPECT_EQ(stride, channels.stride);

    const Vellum without;
    EXPECT_EQ(without.channelsData(count, bits, stride), nullptr);
    EXPECT_EQ(count + bits + stride, 0);
}

TEST(Channels, BufferCannotBeFetchedOrSet)
{
    Channels channels(5, 2, 3, 8);
    int stride = -7;
    EXPECT_EQ(channels.image.getChannelsData(3, 8, stride), nullptr);
    EXPECT_EQ(channels.image.getChannelsData(0, 0, stride), nullptr);
    EXPECT_EQ(stride, -7);
    EXPECT_FALSE(channels.image.setChannelsImage({}));
    EXPECT_FALSE(channels.image.setChannelsImage({&channels.image}));
}

} // namespace
