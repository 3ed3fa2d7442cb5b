// What Vellum::load says when it fails, and how it leaves the image.

#include <cstdlib>
#include <limits>
#include <support/hrle.h>
#include <support/images.h>
#include <support/loadtrace.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>
#include <utility>

using namespace vellum::test;

namespace {

const QString kStart = QStringLiteral("Vellum::load ");
const QString kError1 = QStringLiteral("Vellum::load error 1");
const QString kError2 = QStringLiteral("Vellum::load error 2");
const QString kError3 = QStringLiteral("Vellum::load error 3");
const QString kError4 = QStringLiteral("Vellum::load error 4");
const QString kError5 = QStringLiteral("Vellum::load error 5");
const QString kError7 = QStringLiteral("Vellum::load error 7");

/// Loads into an image of either storage that holds something already.
class LoadErrors : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    LoadErrors()
    {
        image = noise();
        image.setIccProfile("a profile");
        image.setOrgFileCmyk(true);
        image.setExifData(static_cast<char *>(std::malloc(3)), 3);
        exif = image.getExifData();
        firstRow = std::as_const(image).scanLineEx(0);
    }

    ~LoadErrors() override
    {
        if (image.getExifData() == exif)
            return;
        std::free(exif->data); // an assignment to the image has forgotten it
        delete exif;
    }

    static Vellum noise() { return makeNoise(7, 4, QImage::Format_RGB888, GetParam(), 5); }

    void expectUntouched() const
    {
        EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
        EXPECT_TRUE(samePixels(image, noise()));
        EXPECT_EQ(image.scanLineEx(0), firstRow);
        EXPECT_EQ(image.getIccProfile(), "a profile");
        EXPECT_TRUE(image.isOrgFileCmyk());
        EXPECT_EQ(const_cast<Vellum &>(image).getExifData(), exif);
    }

    Vellum image;
    const uchar *firstRow;
    ExifData *exif;
};

INSTANTIATE_TEST_SUITE_P(Storages, LoadErrors, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

class LoadErrorsSize : public WithRecordingPlugins
{
protected:
    /// The lines of loading a file whose plugin reports \a size. Nothing of that size can be read:
    /// one of \a format "gif" fails with error 4, a directly read one with error 5.
    QStringList linesFor(const QSize &size, const QByteArray &format)
    {
        recorder() = Recorder();
        recorder().first.options = {QImageIOHandler::Size, QImageIOHandler::ImageFormat};
        recorder().first.values = {{QImageIOHandler::Size, size}};
        const MessageLog log;
        EXPECT_FALSE(Vellum().load(testImage(format)));
        QStringList lines;
        const QStringList messages = log.messages();
        for (const QString &message : messages)
            lines.append(withoutStamp(message).section(QStringLiteral(" \""), 0, 0));
        return lines;
    }
};

} // namespace

TEST_P(LoadErrors, EmptyNameIsError1AndAsksNoPlugin)
{
    for (const QString &name : {QString(), QStringLiteral("")}) {
        const MessageLog log;

        EXPECT_FALSE(image.load(name));

        expectTrace(log, {kStart, kError1}, name);
        EXPECT_TRUE(recorder().calls.empty());
        expectUntouched();
    }
}

TEST_P(LoadErrors, UnreadableHrleIsError2AndLeavesANullImage)
{
    const QString missing = path(QStringLiteral("missing.hrle"));
    const QString broken = makeFile(QStringLiteral("broken.hrle"), "BM, but nothing more");
    const QString testPicture = testImage("png", QStringLiteral("misnamed.hrle"));
    for (const QString &name : {missing, broken, testPicture, QStringLiteral(".hrle")}) {
        Vellum loaded = image;
        const MessageLog log;

        EXPECT_FALSE(loaded.load(name));

        expectTrace(log, {kStart, kError2}, name);
        EXPECT_TRUE(loaded.isNull());
        EXPECT_FALSE(loaded.isBigImage());
        EXPECT_TRUE(loaded.getIccProfile().isEmpty());
        EXPECT_FALSE(loaded.isOrgFileCmyk());
        EXPECT_TRUE(recorder().calls.empty());
    }
    expectUntouched();
}

TEST_P(LoadErrors, TooManyPixelsAreError3)
{
    for (const char *format : {"png", "gif"}) {
        provide({makeNoise(3, 2, QImage::Format_RGB888, Storage::Plain)});
        recorder().first.values[QImageIOHandler::Size] = QSize(45876, 45877);
        const QString name = testImage(format);
        const MessageLog log;

        EXPECT_FALSE(image.load(name));

        expectTrace(log, {kStart, kError3}, name);
        EXPECT_TRUE(callsOf(Asked::Read).empty());
        expectUntouched();
    }
}

TEST_P(LoadErrors, WhatNobodyReadsIsError4)
{
    const QStringList names {
        path(QStringLiteral("missing.png")),
        path(QStringLiteral("missing")),
        folder.path(),
        makeFile(QStringLiteral("empty.png"), ""),
        makeFile(QStringLiteral("text.txt"), "no picture"),
        makeFile(QStringLiteral("cut.png"), QByteArray("\x89PNG\r\n\x1a\n", 8)),
        QStringLiteral(" "),
    };
    for (const QString &name : names) {
        MessageLog log;

        EXPECT_FALSE(image.load(name)) << qPrintable(name);

        QStringList ours;
        const QStringList messages = log.messages();
        for (const QString &message : messages) { // libpng may say something, too
            if (message.contains(QLatin1String("Vellum::load")))
                ours.append(withoutStamp(message));
        }
        const bool readDirectly = name.endsWith(QLatin1String("cut.png"));
        EXPECT_EQ(ours.size(), 2) << qPrintable(name);
        EXPECT_EQ(ours.value(0), kStart + QLatin1Char(' ') + printed(name));
        EXPECT_TRUE(ours.value(1) == kError4 + QLatin1Char(' ') + printed(name) ||
                    (readDirectly && ours.value(1) == kError5 + QLatin1Char(' ') + printed(name)))
            << qPrintable(ours.value(1));
        expectUntouched();
    }
}

TEST_P(LoadErrors, FailedReadOfAnotherFormatIsError4)
{
    provide({makeNoise(7, 4, QImage::Format_RGB888, Storage::Plain)});
    recorder().first.read = [](QImage *out) {
        *out = QImage(7, 4, QImage::Format_RGB888);
        out->fill(Qt::red);
        return false;
    };
    const QString name = testImage("gif");
    const MessageLog log;

    EXPECT_FALSE(image.load(name));

    expectTrace(log, {kStart, kError4}, name);
    EXPECT_EQ(callsOf(Asked::Read).size(), 1U);
    expectUntouched();
}

TEST_P(LoadErrors, UnknownPixelFormatIsError5)
{
    for (const QVariant &format : {QVariant(), QVariant(int(QImage::Format_Invalid))}) {
        provide({makeNoise(7, 4, QImage::Format_RGB888, Storage::Plain)});
        recorder().first.values[QImageIOHandler::ImageFormat] = format;
        const QString name = testImage("tif");
        const MessageLog log;

        EXPECT_FALSE(image.load(name));

        expectTrace(log, {kStart, kError5}, name);
        EXPECT_TRUE(callsOf(Asked::Read).empty());
        expectUntouched();
    }
}

TEST_P(LoadErrors, StorageThatCannotBeHadIsAnErrorWithoutTime)
{
    // Sizes that are none, and formats that there are not.
    const std::pair<QSize, int> refused[] = {
        {QSize(-1, -1), QImage::Format_RGB888}, {QSize(0, 5), QImage::Format_RGB888},
        {QSize(5, 0), QImage::Format_RGB888},   {QSize(-3, 4), QImage::Format_RGB888},
        {QSize(5, 3), QImage::NImageFormats},   {QSize(5, 3), QImage::NImageFormats + 1},
    };
    for (const auto &[size, format] : refused) {
        provide({makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain)});
        recorder().first.values[QImageIOHandler::Size] = size;
        recorder().first.values[QImageIOHandler::ImageFormat] = format;
        const QString name = testImage("psd");
        Vellum loaded = image;
        const MessageLog log;

        EXPECT_FALSE(loaded.load(name));

        QStringList lines = log.messages(QtDebugMsg);
        ASSERT_EQ(lines.size(), 2) << size.width() << " " << format;
        EXPECT_EQ(withoutStamp(lines[0]), kStart + QLatin1Char(' ') + printed(name));
        EXPECT_EQ(lines[1], QStringLiteral("Vellum::load error,  ") + printed(name));
        EXPECT_TRUE(loaded.isNull());
        EXPECT_EQ(loaded.getIccProfile(), "a profile");
        EXPECT_TRUE(callsOf(Asked::Read).empty());
    }
    expectUntouched();
}

TEST_P(LoadErrors, FailedDirectReadIsError7AndLeavesFreshStorage)
{
    provide({makeNoise(5, 3, QImage::Format_ARGB32, Storage::Plain)});
    recorder().first.read = [](QImage *out) {
        std::memset(image_scanLine(Vellum::getVellum(out), out, 0), 0x5a, 20);
        return false;
    };
    const QString name = testImage("jpeg");
    const MessageLog log;

    EXPECT_FALSE(image.load(name));

    expectTrace(log, {kStart, kError7}, name);
    EXPECT_EQ(image.size(), QSize(5, 3));
    EXPECT_EQ(image.format(), QImage::Format_ARGB32);
    EXPECT_FALSE(image.isBigImage());
    EXPECT_EQ(QByteArray(reinterpret_cast<const char *>(image.scanLineEx(0)), 20),
              QByteArray(20, '\x5a'));
}

TEST_P(LoadErrors, FailedDirectReadIsError7AndLeavesReusedStorage)
{
    provide({noise()}); // only its size and format matter
    recorder().first.read = [](QImage *out) {
        std::memset(image_scanLine(Vellum::getVellum(out), out, 3), 0x5a, 21);
        return false;
    };
    const QString name = testImage("bmp");
    const MessageLog log;

    EXPECT_FALSE(image.load(name));

    expectTrace(log, {kStart, kError7}, name);
    Vellum expected = noise();
    std::memset(expected.scanLineEx(3), 0x5a, 21);
    EXPECT_TRUE(samePixels(image, expected));
    EXPECT_EQ(image.isBigImage(), GetParam() == Storage::Big);
    EXPECT_EQ(std::as_const(image).scanLineEx(0), firstRow);
}

TEST_P(LoadErrors, DirectReadThatFailsWithAProfileConvertsNothing)
{
    Picture picture {makeNoise(7, 4, QImage::Format_RGB888, Storage::Plain)};
    picture.profile = matrixProfile();
    picture.cmyk = false;
    picture.transformation = QImageIOHandler::TransformationMirror;
    provide(picture);
    recorder().first.read = [picture](QImage *out) {
        readPicture(picture, out);
        return false;
    };
    const MessageLog log;

    EXPECT_FALSE(image.load(testImage("png")));

    EXPECT_TRUE(samePixels(image, picture.pixels));
    EXPECT_EQ(image.getIccProfile(), picture.profile);
}

TEST_P(LoadErrors, SuccessIsOneLine)
{
    provide({noise()});
    if (GetParam() == Storage::Plain) {
        for (const char *format : {"png", "gif"}) {
            const QString name = testImage(format, QStringLiteral("a \"quoted\" n\u00e4me"));
            const MessageLog log;
            EXPECT_TRUE(image.load(name));
            expectTrace(log, {kStart}, name);
        }
    }
    makeFile(QStringLiteral("x.hrle"), runLengthFile(4, 1, run(4, 9) + endRow(1)));
    const MessageLog log;
    EXPECT_TRUE(image.load(path(QStringLiteral("x.hrle"))));
    expectTrace(log, {kStart}, path(QStringLiteral("x.hrle")));
}

TEST_F(LoadErrorsSize, LimitIs45876Squared)
{
    for (const QByteArray format : {"gif", "png"}) {
        const QStringList passed {kStart, format == "gif" ? kError4 : kError5};
        const QStringList refused {kStart, kError3};
        EXPECT_EQ(linesFor(QSize(45876, 45876), format), passed);
        EXPECT_EQ(linesFor(QSize(1, 2104607376), format), passed);
        EXPECT_EQ(linesFor(QSize(2104607376, 1), format), passed);
        EXPECT_EQ(linesFor(QSize(1, 2104607377), format), refused);
        EXPECT_EQ(linesFor(QSize(2104607377, 1), format), refused);
        EXPECT_EQ(linesFor(QSize(45876, 45877), format), refused);
        EXPECT_EQ(linesFor(QSize(45877, 45876), format), refused);
        EXPECT_EQ(linesFor(QSize(46340, 46340), format), refused);
        EXPECT_EQ(linesFor(QSize(std::numeric_limits<int>::max(), 1), format), refused);
    }
}

// Callers know the limit as a signed 32-bit comparison; what wraps to a small number passes.
TEST_F(LoadErrorsSize, ProductWrapsLikeA32BitNumber)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    constexpr int kLeast = std::numeric_limits<int>::min();
    const std::pair<QSize, bool> sizes[] = {
        {QSize(46341, 46341), true}, // -2147479015
        {QSize(65536, 32768), true}, // -2147483648
        {QSize(65535, 32768), false}, // 2147450880
        {QSize(50000, 50000), true},    {QSize(65536, 65536), true}, // 0
        {QSize(80000, 79994), true}, // 2104552704
        {QSize(80000, 79995), false}, // 2104632704
        {QSize(kMost, kMost), true}, // 1
        {QSize(kMost, 3), false}, // 2147483645
        {QSize(-45876, -45877), false}, // positive
        {QSize(-45876, 45877), true},   {QSize(kLeast, kLeast), true}, // 0
        {QSize(kLeast, -1), true}, // -2147483648
        {QSize(-1, -1), true},          {QSize(0, kMost), true},
    };
    for (const auto &[size, passes] : sizes) {
        EXPECT_EQ(linesFor(size, "gif"), QStringList({kStart, passes ? kError4 : kError3}))
            << size.width() << " x " << size.height();
        EXPECT_EQ(linesFor(size, "png"), QStringList({kStart, passes ? kError5 : kError3}))
            << size.width() << " x " << size.height();
    }
}

TEST_F(LoadErrorsSize, UnknownSizePasses)
{
    provide({makeNoise(5, 3, QImage::Format_RGB888, Storage::Plain)});
    recorder().first.options.removeAll(QImageIOHandler::Size);
    Vellum image;
    const MessageLog log;

    EXPECT_TRUE(image.load(testImage("gif")));
    EXPECT_EQ(image.size(), QSize(5, 3));
}
