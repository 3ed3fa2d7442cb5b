#include <limits>
#include <support/images.h>
#include <support/sampling.h>

using namespace vellum::test;

namespace {

using Param = std::tuple<QImage::Format, Storage>;

constexpr auto kFast = Qt::FastTransformation;
constexpr auto kSmooth = Qt::SmoothTransformation;

QRect whole(const QSize &size) { return {QPoint(0, 0), size}; }

bool alwaysSampled(const Vellum &image)
{
    return image.depth() == 1 || image.format() == QImage::Format_Indexed8;
}

bool averagedAsStored(const Vellum &image)
{
    return image.depth() == 32 || image.depth() == 64 ||
        image.format() == QImage::Format_Grayscale8;
}

/// What averaging must give, from the functions that it stands on.
Vellum averaged(const Vellum &image, const QSize &size, const QRect &rect)
{
    return qSmoothScaleCropVellum(
        averagedAsStored(image) ? image : image.convertToFormat(QImage::Format_ARGB32), size, rect);
}

Vellum scaleCropped(const Vellum &src, QSize size, QRect rect, Qt::TransformationMode mode)
{
    return src.scaleCrop(size, rect, mode);
}

/// Like samePixels(), but two null images are the same as well.
testing::AssertionResult same(const Vellum &a, const Vellum &b)
{
    if (a.isNull() || b.isNull()) {
        if (a.isNull() && b.isNull())
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "one is null";
    }
    return sameRowBytes(a, b);
}

class FrontEnds : public testing::TestWithParam<Param>
{
protected:
    const QImage::Format m_format = std::get<0>(GetParam());
    const Storage m_storage = std::get<1>(GetParam());
    const Vellum m_image = makeNoise(41, 29, m_format, m_storage, 1, 5);
};

TEST_P(FrontEnds, FastScalingSamples)
{
    for (const QSize size : {QSize(17, 50), QSize(90, 13), QSize(1, 1), QSize(41, 30)}) {
        EXPECT_TRUE(same(m_image.scaled(size), sampledNaively(m_image, size, whole(size))));
        const QRect part = QRect(5, 2, 30, 11) & whole(size);
        const Vellum cropped = scaleCropped(m_image, size, QRect(5, 2, 30, 11), kFast);
        if (part.isEmpty())
            EXPECT_TRUE(cropped.isNull());
        else
            EXPECT_TRUE(same(cropped, sampledNaively(m_image, size, part)));
    }
}

TEST_P(FrontEnds, SmoothScalingAveragesWhatIsNeitherOneBitNorIndexed)
{
    for (const QSize size : {QSize(17, 50), QSize(90, 13), QSize(20, 10), QSize(80, 70)}) {
        const QRect part = QRect(3, 2, 14, 5);
        const bool sampled = alwaysSampled(m_image);
        EXPECT_TRUE(same(m_image.scaled(size, Qt::IgnoreAspectRatio, kSmooth),
                         sampled ? sampledNaively(m_image, size, whole(size))
                                 : averaged(m_image, size, whole(size))));
        EXPECT_TRUE(
            same(scaleCropped(m_image, size, part, kSmooth),
                 sampled ? sampledNaively(m_image, size, part) : averaged(m_image, size, part)));
    }
}

TEST_P(FrontEnds, SmoothScalingKeepsTheFormatsItTakesAndMakesTheOthersArgb32)
{
    const Vellum result = m_image.scaled(20, 10, Qt::IgnoreAspectRatio, kSmooth);
    const bool kept = alwaysSampled(m_image) || averagedAsStored(m_image);
    if (!kept && m_storage == Storage::Big &&
        m_image.convertToFormat(QImage::Format_ARGB32).isNull()) {
        EXPECT_TRUE(result.isNull());
        return;
    }
    EXPECT_EQ(result.format(), kept ? m_format : QImage::Format_ARGB32);
    EXPECT_EQ(result.colorTable(), kept ? m_image.colorTable() : QVector<QRgb>());
}

TEST_P(FrontEnds, ACropWithoutScalingCopies)
{
    const QRect part(7, 3, 20, 15);
    for (const auto mode : {kFast, kSmooth}) {
        const Vellum result = scaleCropped(m_image, m_image.size(), part, mode);
        const bool sampled = mode == kFast || alwaysSampled(m_image);
        if (sampled)
            EXPECT_TRUE(same(result, sampledNaively(m_image, m_image.size(), part)));
        else
            EXPECT_TRUE(samePixels(result, m_image.copy(part)));
    }
}

TEST_P(FrontEnds, NothingToDoSharesOrCopies)
{
    for (const auto mode : {kFast, kSmooth}) {
        Vellum dst;
        ASSERT_TRUE(image_scale_crop(dst, m_image, m_image.size(), whole(m_image.size()), mode,
                                     false, QSize()));
        EXPECT_EQ(std::as_const(dst).scanLineEx(28), m_image.scanLineEx(28));
        ASSERT_TRUE(image_scale_crop(dst, m_image, m_image.size(), whole(m_image.size()), mode,
                                     true, QSize()));
        EXPECT_NE(std::as_const(dst).scanLineEx(28), m_image.scanLineEx(28));
        EXPECT_TRUE(samePixels(dst, m_image));
        EXPECT_FALSE(dst.isBigImage());
    }
}

TEST_P(FrontEnds, ScalingToTheSameSizeGivesACopy)
{
    for (const auto mode : {kFast, kSmooth}) {
        const Vellum result = m_image.scaledEx(m_image.size(), Qt::IgnoreAspectRatio, mode);
        EXPECT_NE(result.scanLineEx(0), m_image.scanLineEx(0));
        EXPECT_TRUE(samePixels(result, m_image));
        EXPECT_FALSE(result.isBigImage());
    }
}

TEST_P(FrontEnds, TheReferenceSizeReachesTheSampler)
{
    const QSize size(23, 19);
    const QSize reference(100, 77);
    Vellum dst;
    ASSERT_TRUE(image_scale_crop(dst, m_image, size, whole(size), kFast, false, reference));
    EXPECT_TRUE(same(dst, sampledNaively(m_image, size, whole(size), reference)));
}

TEST_P(FrontEnds, RejectedRectanglesLeaveTheResultUntouched)
{
    const Vellum before = makeNoise(4, 3, QImage::Format_RGB888, Storage::Plain, 2);
    for (const auto mode : {kFast, kSmooth}) {
        for (const QRect rect : {QRect(50, 0, 10, 10), QRect(0, 50, 10, 10), QRect(-10, 0, 10, 10),
                                 QRect(0, 0, 0, 10), QRect(0, 0, 10, -2)}) {
            Vellum dst = before;
            EXPECT_FALSE(image_scale_crop(dst, m_image, QSize(50, 50), rect, mode, false, QSize()));
            EXPECT_TRUE(samePixels(dst, before));
            EXPECT_TRUE(scaleCropped(m_image, QSize(50, 50), rect, mode).isNull());
        }
        for (const QSize size : {QSize(0, 5), QSize(5, 0), QSize(-1, 5)}) {
            Vellum dst = before;
            EXPECT_FALSE(
                image_scale_crop(dst, m_image, size, QRect(0, 0, 5, 5), mode, false, QSize()));
            EXPECT_TRUE(samePixels(dst, before));
        }
    }
}

TEST_P(FrontEnds, RectanglesAreClippedToTheTarget)
{
    for (const auto mode : {kFast, kSmooth}) {
        const Vellum full = m_image.scaled(100, 100, Qt::IgnoreAspectRatio, mode);
        const Vellum part = scaleCropped(m_image, QSize(100, 100), QRect(50, 50, 100, 100), mode);
        if (full.isNull()) { // no conversion
            EXPECT_TRUE(part.isNull());
            continue;
        }
        ASSERT_EQ(part.size(), QSize(50, 50));
        if (m_image.depth() >= 8) {
            EXPECT_TRUE(samePixels(part, full.copy(50, 50, 50, 50)));
            const QRect everywhere(QPoint(std::numeric_limits<int>::min(), -7),
                                   QPoint(std::numeric_limits<int>::max(), 200));
            EXPECT_TRUE(samePixels(scaleCropped(m_image, QSize(100, 100), everywhere, mode), full));
        }
    }
}

TEST_P(FrontEnds, AnImageCanBeScaledIntoItself)
{
    for (const auto mode : {kFast, kSmooth}) {
        Vellum image = m_image;
        const Vellum expected = image.scaled(60, 70, Qt::IgnoreAspectRatio, mode);
        ASSERT_TRUE(image_scale_crop(image, image, QSize(60, 70), QRect(0, 0, 60, 70), mode, false,
                                     QSize()));
        EXPECT_TRUE(same(image, expected));
    }
}

TEST_P(FrontEnds, ImagesInPlaceBecomePlainScaledOnes)
{
    for (const auto mode : {kFast, kSmooth}) {
        Vellum image = m_image;
        image.setIccProfile("profile");
        const Vellum expected = image.scaled(60, 70, Qt::IgnoreAspectRatio, mode);
        Vellum::scaleQImage(image, QSize(60, 70), Qt::IgnoreAspectRatio, mode);
        EXPECT_FALSE(image.isBigImage());
        EXPECT_TRUE(same(image, expected));
        EXPECT_EQ(image.getIccProfile(), "profile");
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, FrontEnds,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

TEST(ScaledSize, FollowsTheAspectModeAndIsAtLeastOne)
{
    const Vellum image = makeNoise(200, 3, QImage::Format_RGB32, Storage::Big);
    for (const auto mode : {kFast, kSmooth}) {
        EXPECT_EQ(image.scaledEx(QSize(50, 50), Qt::KeepAspectRatio, mode).size(), QSize(50, 1));
        EXPECT_EQ(image.scaledEx(QSize(20, 20), Qt::KeepAspectRatio, mode).size(), QSize(20, 1));
        EXPECT_EQ(image.scaled(QSize(20, 6), Qt::KeepAspectRatioByExpanding, mode).size(),
                  QSize(400, 6));
        EXPECT_EQ(image.scaled(20, 6, Qt::IgnoreAspectRatio, mode).size(), QSize(20, 6));
    }
}

TEST(ScaledSize, EmptyOnesAndNullImagesGiveNull)
{
    const Vellum image = makeNoise(20, 30, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(image.scaledEx(QSize(0, 10)).isNull());
    EXPECT_TRUE(image.scaled(10, 0).isNull());
    EXPECT_TRUE(image.scaled(QSize()).isNull());
    EXPECT_TRUE(Vellum().scaled(10, 10).isNull());
    EXPECT_TRUE(Vellum().scaled(10, 10, Qt::IgnoreAspectRatio, kSmooth).isNull());
    Vellum dst;
    EXPECT_FALSE(
        image_scale_crop(dst, Vellum(), QSize(5, 5), QRect(0, 0, 5, 5), kSmooth, false, QSize()));
}

TEST(ScaleInPlace, ComparesTheRequestedSizeNotTheAdjustedOne)
{
    const QImage square = makeNoise(30, 30, QImage::Format_RGB32, Storage::Plain).toImage();
    QImage image = square.scaled(30, 20);
    const uchar *const bits = std::as_const(image).bits();
    Vellum::scaleQImage(image, QSize(30, 20), Qt::KeepAspectRatio, kFast);
    EXPECT_EQ(std::as_const(image).bits(), bits);

    // 30 x 20 is what keeping the proportions would give, but it is made anew.
    Vellum::scaleQImage(image, QSize(30, 25), Qt::KeepAspectRatio, kFast);
    EXPECT_EQ(image.size(), QSize(30, 20));
    EXPECT_NE(std::as_const(image).bits(), bits);

    Vellum::scaleQImage(image, QSize(60, 60), Qt::KeepAspectRatio, kFast);
    EXPECT_EQ(image.size(), QSize(60, 40));
}

TEST(ScaleProgress, IsReportedBySamplingOnly)
{
    Vellum image = makeNoise(20, 100, QImage::Format_RGB32, Storage::Big);
    const ProgressLog log(image, 1);
    EXPECT_FALSE(image.scaled(10, 10, Qt::IgnoreAspectRatio, kSmooth).isNull());
    EXPECT_TRUE(log.percentages.empty());
    EXPECT_FALSE(image.scaled(10, 10).isNull());
    EXPECT_EQ(log.percentages.size(), 10U);
    EXPECT_EQ(log.percentages.back(), 100);
}

TEST(SmoothScaling, OfABigImageWithoutAConversionIsNullButNoFailure)
{
    const Vellum image = makeNoise(20, 10, QImage::Format_RGB16, Storage::Big);
    ASSERT_TRUE(image.convertToFormat(QImage::Format_ARGB32).isNull());
    Vellum dst = makeNoise(3, 3, QImage::Format_RGB32, Storage::Plain);
    EXPECT_TRUE(
        image_scale_crop(dst, image, QSize(5, 5), QRect(0, 0, 5, 5), kSmooth, false, QSize()));
    EXPECT_TRUE(dst.isNull());
}

} // namespace
