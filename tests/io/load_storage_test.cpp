// Which storage Vellum::load reads into, what the plugin is handed, and who hears of the progress.

#include <support/hrle.h>
#include <support/images.h>
#include <support/loadtrace.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>
#include <utility>

using namespace vellum::test;

namespace {

constexpr auto kFormat = QImage::Format_RGB888;

Vellum noise(unsigned seed = 1, int w = 7, int h = 4)
{
    return makeNoise(w, h, kFormat, Storage::Plain, seed);
}

const uchar *firstRowOf(const Vellum &image) { return image.scanLineEx(0); }

class LoadStorage : public WithRecordingPlugins
{
};

class LoadInto : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    /// An image that a picture of noise() can be read into as it is.
    static Vellum fitting(unsigned seed = 9) { return makeNoise(7, 4, kFormat, GetParam(), seed); }
    static bool big() { return GetParam() == Storage::Big; }
};

INSTANTIATE_TEST_SUITE_P(Storages, LoadInto, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_F(LoadStorage, CommonFormatsAreReadIntoTheImageItself)
{
    for (const char *format : kDirectFormats) {
        recorder() = Recorder();
        provide({noise()});
        Vellum image;
        image.setReadOptions(0x1234);

        ASSERT_TRUE(image.load(testImage(format))) << format;

        const Call read = onlyCall(Asked::Read);
        EXPECT_EQ(read.image, &image) << format;
        EXPECT_TRUE(read.isVellum) << format;
        EXPECT_FALSE(read.isBig) << format;
        EXPECT_EQ(read.size, QSize(7, 4)) << format;
        EXPECT_EQ(read.imageFormat, kFormat) << format;
        EXPECT_EQ(read.readOptions, 0x1234U) << format;
        EXPECT_TRUE(read.mode & QIODevice::ReadOnly) << format;
        EXPECT_TRUE(samePixels(image, noise())) << format;
    }
}

TEST_F(LoadStorage, OtherFormatNamesAreReadIntoATemporaryImage)
{
    for (const char *format :
         {"gif", "PNG", "Png", "JPEG", "jpe", "tifff", "apng", "webp", "hrle"}) {
        recorder() = Recorder();
        provide({noise()});
        Vellum image = makeImage(7, 4, kFormat, Storage::Big);

        ASSERT_TRUE(image.load(testImage(format))) << format;

        const Call read = onlyCall(Asked::Read);
        EXPECT_FALSE(read.isVellum) << format;
        EXPECT_NE(read.image, &image) << format;
        EXPECT_FALSE(image.isBigImage()) << format;
        EXPECT_TRUE(samePixels(image, noise())) << format;
    }
}

TEST_F(LoadStorage, FormatsWhosePixelFormatIsNotToldAreReadIntoATemporaryImage)
{
    for (const char *format : kDirectFormats) {
        recorder() = Recorder();
        provide({noise()});
        recorder().first.options.removeAll(QImageIOHandler::ImageFormat);
        Vellum image;

        ASSERT_TRUE(image.load(testImage(format))) << format;

        EXPECT_FALSE(onlyCall(Asked::Read).isVellum) << format;
        EXPECT_TRUE(samePixels(image, noise())) << format;
    }
}

TEST_F(LoadStorage, FileIsKnownByItsContentNotItsName)
{
    provide({noise()});
    Vellum image;

    ASSERT_TRUE(image.load(testImage("png", QStringLiteral("picture.gif"))));
    EXPECT_TRUE(onlyCall(Asked::Read).isVellum);

    recorder().calls.clear();
    ASSERT_TRUE(image.load(testImage("gif", QStringLiteral("picture.png"))));
    EXPECT_FALSE(onlyCall(Asked::Read).isVellum);
}

TEST_F(LoadStorage, FormatArgumentHasNoEffect)
{
    provide({noise()});
    const auto asked = [this](const char *format) {
        recorder().calls.clear();
        Vellum image;
        EXPECT_TRUE(image.load(path(QStringLiteral("image")), format));
        EXPECT_TRUE(samePixels(image, noise()));
        QStringList lines;
        for (const Call &call : recorder().calls) {
            lines.append(QStringLiteral("%1 %2 %3 %4 %5")
                             .arg(QString::fromLatin1(call.plugin))
                             .arg(int(call.asked))
                             .arg(QString::fromLatin1(call.format))
                             .arg(call.option)
                             .arg(call.isVellum));
        }
        return lines;
    };
    testImage("png");
    const QStringList withoutFormat = asked(nullptr);
    EXPECT_FALSE(withoutFormat.isEmpty());
    for (const char *format : {"", "png", "PNG", "gif", "hrle", "no such format"})
        EXPECT_EQ(asked(format), withoutFormat) << format;

    makeFile(QStringLiteral("grey.hrle"), runLengthFile(4, 1, run(4, 9) + endRow(1)));
    Vellum image;
    EXPECT_TRUE(image.load(path(QStringLiteral("grey.hrle")), "png"));
    EXPECT_EQ(image.size(), QSize(4, 1));
}

TEST_P(LoadInto, StorageThatFitsIsUsedAgain)
{
    Vellum image = fitting();
    const uchar *const row = firstRowOf(image);

    for (const unsigned seed : {1U, 2U}) {
        recorder().calls.clear();
        provide({noise(seed)});
        ASSERT_TRUE(image.load(testImage("png")));

        const Call read = onlyCall(Asked::Read);
        EXPECT_EQ(read.image, &image);
        EXPECT_EQ(read.isBig, big());
        EXPECT_EQ(image.isBigImage(), big());
        EXPECT_EQ(firstRowOf(image), row);
        EXPECT_TRUE(samePixels(image, noise(seed)));
    }
}

TEST_P(LoadInto, StorageThatDoesNotFitIsReplacedByAPlainOne)
{
    const QSize sizes[] = {{8, 4}, {7, 5}, {4, 7}, {6, 3}};
    for (const QSize size : sizes) {
        provide({noise(1, size.width(), size.height())});
        Vellum image = fitting();
        ASSERT_TRUE(image.load(testImage("png")));
        EXPECT_FALSE(image.isBigImage());
        EXPECT_TRUE(samePixels(image, noise(1, size.width(), size.height())));
    }

    provide({noise()});
    Vellum image = makeNoise(7, 4, QImage::Format_BGR888, GetParam());
    ASSERT_TRUE(image.load(testImage("png")));
    EXPECT_FALSE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, noise()));
}

// The first picture ends in another format than it was read in, so that its storage does not fit.
TEST_F(LoadStorage, ConvertedImageGetsFreshStorage)
{
    provide({makeNoise(7, 4, QImage::Format_RGB32, Storage::Plain, 1)});
    Vellum image;
    ASSERT_TRUE(image.load(testImage("png")));
    ASSERT_EQ(image.format(), QImage::Format_ARGB32);

    recorder().calls.clear();
    ASSERT_TRUE(image.load(testImage("png")));
    EXPECT_EQ(onlyCall(Asked::Read).imageFormat, QImage::Format_RGB32);
}

TEST_F(LoadStorage, CopyOfAReloadedPlainImageKeepsItsPixels)
{
    Vellum image = makeNoise(7, 4, kFormat, Storage::Plain, 9);
    const Vellum copy = image;
    provide({noise()});

    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_TRUE(samePixels(image, noise()));
    EXPECT_TRUE(samePixels(copy, noise(9)));
}

TEST_F(LoadStorage, CopyOfAReloadedBigImageSeesTheNewRows)
{
    Vellum image = makeNoise(7, 4, kFormat, Storage::Big, 9);
    const Vellum copy = image;
    provide({noise()});

    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(samePixels(copy, noise()));
}

// An image that is assigned a plain one keeps the store that others share; nothing may be read or
// written outside it, whatever the size of the picture.
TEST_F(LoadStorage, SharedBigImageKeepsItsStoreWhenAnotherFormatIsLoaded)
{
    for (const auto format : {QImage::Format_RGB32, QImage::Format_RGB888, QImage::Format_RGBA64}) {
        for (const QSize size : {QSize(7, 4), QSize(100, 4), QSize(7, 100), QSize(2, 2)}) {
            Vellum image = makeNoise(7, 4, kFormat, Storage::Big, 9);
            image.setIccProfile(matrixProfile());
            const Vellum copy = image;
            provide({makeNoise(size.width(), size.height(), format, Storage::Plain)});

            ASSERT_TRUE(image.load(testImage("gif")));

            EXPECT_TRUE(image.isBigImage());
            EXPECT_EQ(image.size(), size);
            EXPECT_EQ(copy.size(), QSize(7, 4));
        }
    }
}

// Plugins and QImageReader know QImage's setters only, which copy what is shared; the base of a big
// image, here, cannot be copied.
TEST_P(LoadInto, MetadataMayBeSetThroughQImage)
{
    const auto format = QImage::Format_Indexed8;
    Vellum image = makeNoise(7, 4, format, GetParam(), 9);
    image.setText(QStringLiteral("Key"), QStringLiteral("earlier"));
    const Vellum copy = image;
    const QVector<QRgb> table(256, qRgb(1, 2, 3));
    provide({makeNoise(7, 4, format, Storage::Plain)});
    recorder().first.read = [&table](QImage *out) {
        out->setColorTable(table);
        out->setText(QStringLiteral("Key"), QStringLiteral("new"));
        out->setDotsPerMeterX(1234);
        return true;
    };

    ASSERT_TRUE(image.load(testImage("png", QStringLiteral("image@2x.png"))));

    EXPECT_EQ(image.isBigImage(), big());
    EXPECT_EQ(image.colorTable(), table);
    EXPECT_EQ(image.text(QStringLiteral("Key")), QStringLiteral("new"));
    EXPECT_EQ(image.dotsPerMeterX(), 1234);
    EXPECT_EQ(image.devicePixelRatio(), 2.0);
    EXPECT_EQ(copy.text(QStringLiteral("Key")), QStringLiteral("earlier"));
    EXPECT_NE(copy.colorTable(), table);
    EXPECT_EQ(copy.devicePixelRatio(), 1.0);
}

TEST_F(LoadStorage, BigImageWithAWiderStoreIsUsedAgain)
{
    Vellum image = makeNoise(7, 4, kFormat, Storage::Big, 9, 13);
    provide({noise()});

    ASSERT_TRUE(image.load(testImage("png")));

    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_P(LoadInto, CallbackIsPolledWhileReadingAndSurvives)
{
    provide({noise()});
    Vellum fitted = fitting();
    Vellum replaced = makeNoise(3, 3, kFormat, GetParam());
    Vellum null;
    for (Vellum *const image : {&fitted, &replaced, &null}) {
        Polls polls;
        polls.attach(*image);

        ASSERT_TRUE(image->load(testImage("png")));
        EXPECT_EQ(polls.percents, (std::vector<int> {25, 50, 75, 100}));

        ASSERT_TRUE(image->load(testImage("png")));
        EXPECT_EQ(polls.percents.size(), 8U);

        ASSERT_TRUE(image->load(testImage("gif"))); // read into a temporary image
        EXPECT_EQ(polls.percents.size(), 8U);

        EXPECT_TRUE(image->set_progress(2));
        EXPECT_EQ(polls.percents.size(), 9U);
        EXPECT_EQ(polls.percents.back(), 50);
    }
}

TEST_P(LoadInto, CallbackKeepsItsBaseAndScale)
{
    provide({noise()});
    for (const bool fits : {true, false}) {
        Vellum image = fits ? fitting() : Vellum();
        std::vector<int> percents;
        const auto log = [](void *list, int percent, void *) {
            static_cast<std::vector<int> *>(list)->push_back(percent);
            return true;
        };
        image.setCallback(log, &percents, 50, 0.5);

        ASSERT_TRUE(image.load(testImage("png")));

        EXPECT_EQ(percents, (std::vector<int> {62, 75, 87, 100}));
    }
}

TEST_F(LoadStorage, CallbackSurvivesFailuresAndHrle)
{
    provide({noise()});
    makeFile(QStringLiteral("grey.hrle"), runLengthFile(4, 4, run(4, 9) + endRow(4)));
    const MessageLog log;
    Vellum image;
    Polls polls;
    polls.attach(image);

    EXPECT_FALSE(image.load(QString()));
    EXPECT_FALSE(image.load(path(QStringLiteral("missing.hrle"))));
    EXPECT_FALSE(image.load(path(QStringLiteral("missing"))));
    recorder().first.values[QImageIOHandler::Size] = QSize(-1, -1);
    EXPECT_FALSE(image.load(testImage("png")));
    EXPECT_TRUE(polls.percents.empty());
    EXPECT_TRUE(image.load(path(QStringLiteral("grey.hrle"))));
    EXPECT_TRUE(polls.percents.empty()); // read into a temporary image

    EXPECT_TRUE(image.set_progress(1));
    EXPECT_EQ(polls.percents, std::vector<int> {25});
}

TEST_P(LoadInto, CancelLeavesTheRowsReadUntilThen)
{
    const QString name = testImage("png");
    provide({noise()});
    for (size_t stopAt = 0; stopAt < 4; ++stopAt) {
        Vellum image = fitting();
        Polls polls;
        polls.stopAt = stopAt;
        polls.attach(image);
        const MessageLog log;

        EXPECT_FALSE(image.load(name));

        expectTrace(log, {"Vellum::load ", "Vellum::load error 7"}, name);
        EXPECT_EQ(polls.percents.size(), stopAt + 1);
        EXPECT_EQ(image.isBigImage(), big());
        Vellum expected = fitting();
        for (int y = 0; y < int(stopAt); ++y)
            std::memcpy(expected.scanLineEx(y), noise().scanLineEx(y), 21);
        EXPECT_TRUE(samePixels(image, expected)) << stopAt;
    }
}

TEST_P(LoadInto, ImageCanBeLoadedAfterACancelledLoad)
{
    provide({noise()});
    Vellum image = fitting();
    Polls polls;
    polls.stopAt = 2;
    polls.attach(image);
    const MessageLog log;

    EXPECT_FALSE(image.load(testImage("png")));
    EXPECT_TRUE(image.load(testImage("png")));

    EXPECT_EQ(image.isBigImage(), big());
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_P(LoadInto, ChainOffsetAndReadOptionsStay)
{
    provide({noise()});
    Vellum next;
    Vellum image = fitting();
    image.setNextImage(&next);
    image.setOffset(3, -4);
    image.setReadOptions(77);
    image.setSaveAsCmyk(true);

    for (const char *format : {"png", "gif"}) {
        ASSERT_TRUE(image.load(testImage(format)));
        EXPECT_EQ(image.getNextImage(), &next);
        EXPECT_EQ(image.getOffsetX(), 3);
        EXPECT_EQ(image.getOffsetY(), -4);
        EXPECT_EQ(image.getReadOptions(), 77U);
        EXPECT_TRUE(image.getSaveAsCmyk());
    }
}

TEST_P(LoadInto, HrleEndingIsComparedExactly)
{
    Vellum grey = makeNoise(5, 3, QImage::Format_Grayscale8, Storage::Plain);
    for (const char *name : {"a.hrle", ".hrle", "a.png.hrle", "grey hrle.hrle"}) {
        const QString file = path(QString::fromLatin1(name));
        ASSERT_TRUE(HrleHandler().writeFile(file, grey));
        Vellum image = fitting();

        EXPECT_TRUE(image.load(file)) << name;

        EXPECT_TRUE(recorder().calls.empty()) << name;
        EXPECT_FALSE(image.isBigImage()) << name;
        EXPECT_TRUE(samePixels(image, grey)) << name;
    }
    for (const char *name : {"a.HRLE", "a.Hrle", "a.hrle.png", "ahrle", "a.hrle ", "a.hrles"}) {
        recorder() = Recorder();
        provide({noise()});
        Vellum image = fitting();

        EXPECT_TRUE(image.load(testImage("png", QString::fromLatin1(name)))) << name;

        EXPECT_EQ(onlyCall(Asked::Read).image, &image) << name;
        EXPECT_TRUE(samePixels(image, noise())) << name;
    }
}

// Qt says what it wants of a reader in its own order; what must not happen is a second reading.
TEST_P(LoadInto, FileIsOpenedByOneHandlerOnly)
{
    for (const char *format : {"png", "gif"}) {
        recorder() = Recorder();
        provide({noise()});
        Vellum image = fitting();

        ASSERT_TRUE(image.load(testImage(format)));

        EXPECT_EQ(callsOf(Asked::Create).size(), 1U);
        EXPECT_EQ(callsOf(Asked::Delete).size(), 1U);
        EXPECT_EQ(callsOf(Asked::Read).size(), 1U);
        EXPECT_TRUE(callsOf(Asked::SetOption).empty());
        EXPECT_TRUE(callsOf(Asked::Write).empty());
    }
}
