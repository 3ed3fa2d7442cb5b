#include <limits>
#include <support/images.h>
#include <utility>
#include <vector>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

/// Records what is reported and cancels after a number of calls.
struct Recorder
{
    explicit Recorder(Vellum &image, int callsToAllow = std::numeric_limits<int>::max())
        : callsLeft(callsToAllow)
    {
        image.setCallback(record, this, 0, image.height() / 100.0); // percentages are positions
    }

    static bool record(void *recorder, int percent, void *image)
    {
        auto &self = *static_cast<Recorder *>(recorder);
        self.positions.push_back(percent);
        self.images.push_back(image);
        return self.callsLeft-- > 0;
    }

    int callsLeft;
    std::vector<int> positions;
    std::vector<void *> images;
};

class RowAccess : public testing::TestWithParam<Param>
{
};

TEST_P(RowAccess, RowsOutsideTheImageAreNull)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(13, 7, format, storage);
    const Vellum &constImage = image;

    for (const int y :
         {-1, 7, 8, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        EXPECT_EQ(image.scanLineEx(y), nullptr) << y;
        EXPECT_EQ(image.scanLine(y), nullptr) << y;
        EXPECT_EQ(constImage.scanLineEx(y), nullptr) << y;
        EXPECT_EQ(constImage.scanLine(y), nullptr) << y;
        EXPECT_EQ(image_scanLine(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_constScanLine(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_scanLine_reverse(&image, nullptr, y), nullptr) << y;
        EXPECT_EQ(image_constScanLine_reverse(&image, nullptr, y), nullptr) << y;
    }
}

TEST(RowAccess, RowsOfAPlainImageAreThoseOfQImage)
{
    for (const QImage::Format format : allFormats()) {
        Vellum image = makeNoise(13, 7, format, Storage::Plain);
        for (int y = 0; y < 7; ++y) {
            const uchar *const row = image.constBits() + qptrdiff(y) * image.bytesPerLine();
            EXPECT_EQ(image.scanLineEx(y), row) << format;
            EXPECT_EQ(std::as_const(image).scanLineEx(y), row) << format;
        }
    }
}

TEST_P(RowAccess, RowsKeepWhatIsWritten)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeImage(13, 23, format, storage, 12);
    const int count = image.storedBytesPerLine();

    for (int y = 0; y < 23; ++y) {
        uchar *const row = image.scanLineEx(y);
        for (int i = 0; i < count; ++i)
            row[i] = uchar(y * 31 + i);
    }

    const Vellum &written = image;
    for (int y = 0; y < 23; ++y) {
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(written.scanLineEx(y)[i], uchar(y * 31 + i)) << y << ", " << i;
    }
}

TEST_P(RowAccess, PolledRowsAreTheImagesRows)
{
    const auto [format, storage] = GetParam();
    Vellum image = makeNoise(13, 7, format, storage);
    QImage ignored(13, 7, format);

    for (int y = 0; y < 7; ++y) {
        const uchar *const row = std::as_const(image).scanLineEx(y);
        EXPECT_EQ(image_scanLine(&image, &ignored, y), row);
        EXPECT_EQ(image_constScanLine(&image, &ignored, y), row);
        EXPECT_EQ(image_scanLine_reverse(&image, &ignored, y), row);
        EXPECT_EQ(image_constScanLine_reverse(&image, &ignored, y), row);
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, RowAccess,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(RowAccess, NullImageHasNoRows)
{
    Vellum image;
    EXPECT_EQ(image.scanLineEx(0), nullptr);
    EXPECT_EQ(std::as_const(image).scanLineEx(0), nullptr);
    EXPECT_EQ(image_scanLine(&image, nullptr, 0), nullptr);
}

TEST(RowAccess, MutableRowDetachesAPlainImage)
{
    Vellum image = makeNoise(5, 5, QImage::Format_RGB32, Storage::Plain);
    const Vellum copy = image;

    const uchar *const row = image.scanLineEx(2);

    EXPECT_NE(row, copy.scanLineEx(2));
    EXPECT_TRUE(copy.isDetached());
}

TEST(RowAccess, WithoutAVellumTheRowIsThePlainImages)
{
    QImage plain(5, 6, QImage::Format_RGB32);
    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(image_scanLine(nullptr, &plain, y), plain.constScanLine(y));
        EXPECT_EQ(image_constScanLine(nullptr, &plain, y), plain.constScanLine(y));
        EXPECT_EQ(image_scanLine_reverse(nullptr, &plain, y), plain.constScanLine(y));
        EXPECT_EQ(image_constScanLine_reverse(nullptr, &plain, y), plain.constScanLine(y));
    }
}

TEST(RowAccess, OfASharedPlainImageTheMutableRowDetachesAndTheConstRowDoesNot)
{
    QImage plain(5, 6, QImage::Format_RGB32);
    const QImage copy = plain;

    EXPECT_EQ(image_constScanLine(nullptr, &plain, 3), copy.constScanLine(3));
    EXPECT_EQ(image_constScanLine_reverse(nullptr, &plain, 3), copy.constScanLine(3));
    EXPECT_FALSE(plain.isDetached());
    EXPECT_NE(image_scanLine(nullptr, &plain, 3), copy.constScanLine(3));
    EXPECT_TRUE(plain.isDetached());
}

TEST(RowAccess, WithoutAnyImageTheRowIsNull)
{
    QImage null;
    QImage plain(5, 6, QImage::Format_RGB32);
    EXPECT_EQ(image_scanLine(nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(image_constScanLine(nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(image_scanLine_reverse(nullptr, &null, 0), nullptr);
    EXPECT_EQ(image_constScanLine(nullptr, &plain, 6), nullptr);
    EXPECT_EQ(image_constScanLine(nullptr, &plain, -1), nullptr);
}

TEST(RowAccess, WithoutAVellumNobodyIsTold)
{
    Vellum image(5, 6, QImage::Format_RGB32); // a Vellum that is passed as the plain image
    const Recorder recorder(image, 0);

    EXPECT_NE(image_scanLine(nullptr, &image, 3), nullptr);

    EXPECT_TRUE(recorder.positions.empty());
}

class PolledRows : public testing::TestWithParam<Storage>
{
};

TEST_P(PolledRows, WalkingDownReportsRowsDone)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image);

    for (int y = 0; y < 3; ++y)
        EXPECT_NE(image_scanLine(&image, nullptr, y), nullptr);
    for (int y = 3; y < 6; ++y)
        EXPECT_NE(image_constScanLine(&image, nullptr, y), nullptr);

    EXPECT_EQ(recorder.positions, (std::vector<int> {1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(recorder.images, std::vector<void *>(6, &image));
}

TEST_P(PolledRows, WalkingUpReportsRowsDone)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image);

    for (int y = 5; y >= 3; --y)
        EXPECT_NE(image_scanLine_reverse(&image, nullptr, y), nullptr);
    for (int y = 2; y >= 0; --y)
        EXPECT_NE(image_constScanLine_reverse(&image, nullptr, y), nullptr);

    EXPECT_EQ(recorder.positions, (std::vector<int> {1, 2, 3, 4, 5, 6}));
}

TEST_P(PolledRows, UnpolledRowsReportNothing)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image, 0);

    EXPECT_NE(image.scanLineEx(0), nullptr);
    EXPECT_NE(std::as_const(image).scanLineEx(1), nullptr);

    EXPECT_TRUE(recorder.positions.empty());
}

TEST_P(PolledRows, CancelledFromTheStartEveryRowIsNull)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image, 0);

    for (int y = 0; y < 6; ++y) {
        EXPECT_EQ(image_scanLine(&image, nullptr, y), nullptr);
        EXPECT_EQ(image_constScanLine(&image, nullptr, y), nullptr);
        EXPECT_EQ(image_scanLine_reverse(&image, nullptr, y), nullptr);
        EXPECT_EQ(image_constScanLine_reverse(&image, nullptr, y), nullptr);
    }

    EXPECT_EQ(recorder.positions.size(), 24U);
}

TEST_P(PolledRows, CancelledInTheMiddleTheRowsBeforeAreGiven)
{
    Vellum image = makeNoise(5, 6, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image, 2);

    EXPECT_NE(image_scanLine(&image, nullptr, 0), nullptr);
    EXPECT_NE(image_scanLine(&image, nullptr, 1), nullptr);
    EXPECT_EQ(image_scanLine(&image, nullptr, 2), nullptr);
}

TEST_P(PolledRows, PositionsOfRowsFarOutsideAreCutToAnInt)
{
    Vellum image = makeNoise(5, 100, QImage::Format_RGB32, GetParam());
    const Recorder recorder(image);
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();

    image_scanLine(&image, nullptr, kMost);
    image_constScanLine(&image, nullptr, kLeast);
    image_scanLine_reverse(&image, nullptr, kLeast);
    image_constScanLine_reverse(&image, nullptr, kMost);

    EXPECT_EQ(recorder.positions, (std::vector<int> {kMost, kLeast + 1, kMost, 100 - kMost}));
}

INSTANTIATE_TEST_SUITE_P(Storages, PolledRows, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace
