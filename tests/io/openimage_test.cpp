// vellum::openImage with plugins that keep a record: what they are handed, and what comes of it.

#include <QColorSpace>

#include <support/images.h>
#include <support/oriented.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>

using namespace vellum;
using namespace vellum::test;

namespace {

using Place = vellum::Storage;

constexpr auto kFormat = QImage::Format_RGB888;

/// Always the same bytes: a profile holds the time at which it was made.
const QByteArray &wideProfile()
{
    static const QByteArray profile = matrixProfile();
    return profile;
}

Vellum noise(QImage::Format format = kFormat, unsigned seed = 1)
{
    return makeNoise(7, 5, format, test::Storage::Plain, seed);
}

/// \a image, of a format that lcms2 knows, from \a icc to sRGB by lcms2 itself.
Vellum inSrgb(const Vellum &image, const QByteArray &icc)
{
    Vellum result = image.copyEx();
    const cmsUInt32Number format = CVlLcmsManager::toLcmsFormat(image.format());
    const OwnedTransform transform = chainTransform(
        {openBytes(icc).release(), openBytes(srgbProfile()).release()}, format, format);
    for (int y = 0; y < result.height(); ++y) {
        uchar *const row = result.scanLineEx(y);
        cmsDoTransform(transform.get(), row, row, cmsUInt32Number(result.width()));
    }
    return result;
}

OpenOptions untouched()
{
    OpenOptions options;
    options.format = OpenedFormat::AsDecoded;
    options.colors = PixelColors::FileOwn;
    return options;
}

class OpenImage : public WithRecordingPlugins
{
protected:
    QString file() const { return testImage("png"); }

    /// Expects that opening fails with \a status and words, and that nothing happens to the image.
    OpenResult expectFailure(FileStatus status, const QString &fileName,
                             const OpenOptions &options = {})
    {
        Vellum image = makeNoise(9, 8, QImage::Format_ARGB32, test::Storage::Big, 77);
        image.setIccProfile("old");
        const OpenResult result = openImage(image, fileName, options);
        EXPECT_EQ(int(result.status), int(status)) << result.message.toStdString();
        EXPECT_FALSE(result.message.isEmpty());
        EXPECT_TRUE(
            samePixels(image, makeNoise(9, 8, QImage::Format_ARGB32, test::Storage::Plain, 77)));
        EXPECT_TRUE(image.isBigImage());
        EXPECT_EQ(image.getIccProfile(), "old");
        return result;
    }
};

using FormatAndStorage = std::tuple<QImage::Format, test::Storage>;

class OpenUpright : public WithRecordingPlugins,
                    public testing::WithParamInterface<FormatAndStorage>
{
};

INSTANTIATE_TEST_SUITE_P(Formats, OpenUpright,
                         testing::Combine(testing::ValuesIn(allFormats()),
                                          testing::ValuesIn(kStorages)),
                         caseName);

class OpenStored : public WithRecordingPlugins, public testing::WithParamInterface<test::Storage>
{
protected:
    static Place place() { return GetParam() == test::Storage::Big ? Place::Big : Place::Plain; }
    static OpenOptions options()
    {
        OpenOptions options;
        options.storage = place();
        return options;
    }
    QString file() const { return testImage("png"); }
};

INSTANTIATE_TEST_SUITE_P(Storages, OpenStored, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(OpenUpright, EveryOrientationIsUndoneExactly)
{
    const auto [format, storage] = GetParam();
    const Vellum stored = noise(format);
    OpenOptions options = untouched();
    options.storage = storage == test::Storage::Big ? Place::Big : Place::Plain;
    for (int transformation = 0; transformation < 8; ++transformation) {
        SCOPED_TRACE(transformation);
        recorder() = Recorder();
        provide({stored, transformation, wideProfile(), true});
        Vellum image;

        const OpenResult result = openImage(image, testImage("png"), options);

        ASSERT_TRUE(result) << result.message.toStdString();
        EXPECT_TRUE(samePixels(image, orientedNaively(stored, transformation)));
        EXPECT_EQ(image.isBigImage(), storage == test::Storage::Big);
        EXPECT_EQ(onlyCall(Asked::Read).isBig, storage == test::Storage::Big);
        EXPECT_EQ(image.getIccProfile(), wideProfile());
        EXPECT_TRUE(image.isOrgFileCmyk());
    }
}

TEST_P(OpenStored, ColoursDoNotDependOnOrientation)
{
    const Vellum stored = noise(QImage::Format_ARGB32);
    const Vellum expected = inSrgb(stored, wideProfile());
    for (int transformation = 0; transformation < 8; ++transformation) {
        recorder() = Recorder();
        provide({stored, transformation, wideProfile()});
        Vellum image;

        const OpenResult result = openImage(image, file(), options());

        ASSERT_TRUE(result);
        EXPECT_EQ(result.colors, PixelColors::Srgb);
        EXPECT_TRUE(samePixels(image, orientedNaively(expected, transformation)));
        EXPECT_EQ(image.getIccProfile(), wideProfile());
    }
}

TEST_P(OpenStored, PalettesAreConvertedByTheirEntries)
{
    const Vellum stored = noise(QImage::Format_Indexed8);
    provide({stored, 0, wideProfile()});
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options()));

    EXPECT_EQ(image.format(), QImage::Format_Indexed8);
    const Vellum expected =
        inSrgb(Vellum(stored.toImage().convertToFormat(QImage::Format_ARGB32)), wideProfile());
    EXPECT_TRUE(samePixels(
        vellum::converted(image, QImage::Format_ARGB32, Qt::AutoColor, Place::Plain), expected));
}

TEST_P(OpenStored, ExtraChannelsAreTurnedWithThePicture)
{
    const Vellum stored = noise(QImage::Format_RGB32);
    const auto sample = [](QPoint p, int channel) {
        return uchar(7 * p.x() + 50 * p.y() + channel);
    };
    for (int transformation = 0; transformation < 8; ++transformation) {
        SCOPED_TRACE(transformation);
        provide({stored, transformation});
        recorder().first.read = [&](QImage *image) {
            int stride = 0;
            uchar *const data = Vellum::getVellum(image)->allocChannelsData(3, 8, stride);
            for (int i = 0; i < 7 * 5 * 3; ++i) {
                const QPoint p(i / 3 % 7, i / 21);
                data[p.y() * stride + 3 * p.x() + i % 3] = sample(p, i % 3);
            }
            return readPicture({stored}, image);
        };
        Vellum image;
        ASSERT_TRUE(openImage(image, file(), options()));

        int channels = 0;
        int bits = 0;
        int stride = 0;
        const uchar *const data = image.channelsData(channels, bits, stride);
        ASSERT_TRUE(data);
        EXPECT_EQ(channels, 3);
        for (int i = 0; i < 7 * 5 * 3; ++i) {
            const QPoint p(i / 3 % 7, i / 21);
            const QPoint to = oriented(p, stored.size(), transformation);
            ASSERT_EQ(data[to.y() * stride + 3 * to.x() + i % 3], sample(p, i % 3));
        }
        image.freeChannelsData();
    }
}

TEST_P(OpenStored, WideChannelsAreConvertedBeforeTheyAreReduced)
{
    const Vellum stored = noise(QImage::Format_RGBA64);
    const Vellum wide = inSrgb(stored, wideProfile());
    provide({stored, 0, wideProfile()});
    Vellum image;
    OpenOptions keep = options();
    keep.format = OpenedFormat::Keep16Bits;

    ASSERT_TRUE(openImage(image, file(), keep));
    EXPECT_TRUE(samePixels(image, wide));
    EXPECT_EQ(image.isBigImage(), GetParam() == test::Storage::Big);

    ASSERT_TRUE(openImage(image, file(), options()));
    EXPECT_TRUE(samePixels(image, Vellum(wide.toImage().convertToFormat(QImage::Format_ARGB32))));
    EXPECT_EQ(image.isBigImage(), GetParam() == test::Storage::Big);
}

TEST_P(OpenStored, GreyStaysGreyInEveryDepth)
{
    for (const auto format : {QImage::Format_Grayscale8, QImage::Format_Grayscale16}) {
        for (const QByteArray &profile : {greyProfile(), wideProfile()}) {
            provide({noise(format), 0, profile});
            Vellum image;
            OpenOptions keep = options();
            keep.format = OpenedFormat::Keep16Bits;

            const OpenResult result = openImage(image, file(), keep);

            ASSERT_TRUE(result);
            EXPECT_EQ(result.colors, PixelColors::Srgb);
            EXPECT_EQ(image.format(), format);
            EXPECT_FALSE(samePixels(image, noise(format))) << "nothing was converted";
        }
    }
}

TEST_P(OpenStored, GreyPaletteHasTheColoursOfGreyPixels)
{
    Vellum grey = noise(QImage::Format_Grayscale8);
    Vellum indexed = grey.copyEx();
    ASSERT_TRUE(indexed.reinterpretAsFormat(QImage::Format_Indexed8));
    QVector<QRgb> colors;
    for (int i = 0; i < 256; ++i)
        colors.append(qRgb(i, i, i));
    indexed.setColorTable(colors);
    Vellum fromGrey;
    Vellum fromPalette;

    provide({grey, 0, greyProfile()});
    ASSERT_TRUE(openImage(fromGrey, file(), options()));
    provide({indexed, 0, greyProfile()});
    ASSERT_TRUE(openImage(fromPalette, file(), options()));

    EXPECT_TRUE(samePixels(fromGrey, fromPalette));
}

TEST_P(OpenStored, CommonFormats)
{
    const std::pair<QImage::Format, QImage::Format> pairs[] = {
        {QImage::Format_RGB32, QImage::Format_ARGB32},
        {QImage::Format_ARGB32, QImage::Format_ARGB32},
        {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32},
        {QImage::Format_RGBX64, QImage::Format_ARGB32},
        {QImage::Format_RGBA64_Premultiplied, QImage::Format_ARGB32},
        {QImage::Format_Grayscale16, QImage::Format_Grayscale8},
        {QImage::Format_RGB888, QImage::Format_RGB888},
        {QImage::Format_Indexed8, QImage::Format_Indexed8},
        {QImage::Format_Mono, QImage::Format_Mono},
    };
    for (const auto &[from, to] : pairs) {
        Vellum stored = noise(from);
        if (from == QImage::Format_ARGB32_Premultiplied ||
            from == QImage::Format_RGBA64_Premultiplied) { // channels beyond alpha are undefined
            stored = Vellum(noise(QImage::Format_ARGB32).toImage().convertToFormat(from));
        }
        provide({stored});
        Vellum image;

        ASSERT_TRUE(openImage(image, file(), options()));

        EXPECT_TRUE(samePixels(image, Vellum(stored.toImage().convertToFormat(to)))) << from;
        EXPECT_EQ(image.isBigImage(), GetParam() == test::Storage::Big) << from;
    }
}

TEST_P(OpenStored, NothingOfAnEarlierPictureIsLeft)
{
    provide({noise()});
    Vellum image = makeNoise(7, 5, kFormat, GetParam(), 9);
    image.setIccProfile(wideProfile());
    image.setOrgFileCmyk(true);
    image.setExifData(static_cast<char *>(std::malloc(3)), 3);
    image.setOffset(4, 5);

    ASSERT_TRUE(openImage(image, file(), options()));

    EXPECT_TRUE(samePixels(image, noise()));
    EXPECT_TRUE(image.getIccProfile().isEmpty());
    EXPECT_FALSE(image.isOrgFileCmyk());
    EXPECT_EQ(image.getExifData(), nullptr);
    EXPECT_EQ(image.getOffsetX(), 0);
}

TEST_P(OpenStored, ExifDataGoesAlongThroughEveryStep)
{
    const Vellum stored = noise(QImage::Format_RGBA64);
    provide({stored, QImageIOHandler::TransformationRotate90, wideProfile()});
    const auto read = recorder().first.read;
    recorder().first.read = [read](QImage *image) {
        auto *const exif = static_cast<char *>(std::malloc(4));
        std::memcpy(exif, "exif", 4);
        Vellum::getVellum(image)->setExifData(exif, 4);
        return read(image);
    };
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options()));

    ASSERT_NE(image.getExifData(), nullptr);
    EXPECT_EQ(QByteArray(image.getExifData()->data, image.getExifData()->size), "exif");
}

TEST_P(OpenStored, ProgressNeverFallsAndEndsWithHundred)
{
    provide({noise(QImage::Format_RGBA64), QImageIOHandler::TransformationRotate90, wideProfile()});
    std::vector<int> percents;
    OpenOptions options = this->options();
    options.progress = [&](int percent) {
        percents.push_back(percent);
        return true;
    };
    Vellum image;
    Polls polls;
    polls.attach(image);

    ASSERT_TRUE(openImage(image, file(), options));

    ASSERT_FALSE(percents.empty());
    EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
    EXPECT_EQ(percents.front(), 0);
    EXPECT_EQ(percents.back(), 100);
    EXPECT_EQ(polls.percents, percents) << "the image's own callback hears the same";
}

TEST_P(OpenStored, CancelAtAnyPollLeavesTheImageAlone)
{
    provide({noise(QImage::Format_RGBA64_Premultiplied),
             QImageIOHandler::TransformationMirrorAndRotate90, wideProfile()});
    Vellum old = noise(kFormat, 3);
    int polls = 0;
    OpenOptions options = this->options();
    options.progress = [&](int) { return ++polls > 0; };
    Vellum image = old;
    ASSERT_TRUE(openImage(image, file(), options));
    const int all = polls;
    ASSERT_GT(all, 15);

    for (int stopAt = 1; stopAt <= all; ++stopAt) {
        polls = 0;
        options.progress = [&](int) { return ++polls < stopAt; };
        image = old;

        const OpenResult result = openImage(image, file(), options);

        EXPECT_EQ(result.status, FileStatus::Cancelled) << stopAt;
        EXPECT_EQ(polls, stopAt) << "asked again after it has said stop";
        EXPECT_TRUE(samePixels(image, old)) << stopAt;
    }
}

TEST_P(OpenStored, CallbackOfTheImageCancelsToo)
{
    provide({noise()});
    Vellum image;
    Polls polls;
    polls.stopAt = 2;
    polls.attach(image);

    EXPECT_EQ(openImage(image, file(), options()).status, FileStatus::Cancelled);
    EXPECT_TRUE(image.isNull());
    EXPECT_EQ(polls.percents.size(), 3U);
}

TEST_F(OpenImage, FlagCancelsBeforeAnythingIsRead)
{
    provide({noise()});
    const std::atomic<bool> cancel {true};
    OpenOptions options;
    options.cancel = &cancel;

    expectFailure(FileStatus::Cancelled, file(), options);

    EXPECT_TRUE(callsOf(Asked::Read).empty());
}

TEST_F(OpenImage, PictureIsBigFromTheBytesGiven)
{
    provide({noise()}); // 5 rows of 24 bytes
    for (const int bigFrom : {121, 120}) {
        recorder().calls.clear();
        OpenOptions options;
        options.bigFrom = bigFrom;
        Vellum image;

        ASSERT_TRUE(openImage(image, file(), options));

        EXPECT_EQ(image.isBigImage(), bigFrom == 120);
        EXPECT_EQ(onlyCall(Asked::Read).isBig, bigFrom == 120);
        EXPECT_TRUE(samePixels(image, noise()));
    }
}

TEST_F(OpenImage, PluginThatDoesNotKnowVellumReadsPlainAndTheRowsAreMoved)
{
    provide({noise()});
    std::swap(recorder().first, recorder().second);
    recorder().first.reads = false;
    OpenOptions options;
    options.storage = Place::Big;
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options));

    EXPECT_EQ(onlyCall(Asked::Read).plugin, "second");
    EXPECT_FALSE(onlyCall(Asked::Read).isBig);
    EXPECT_TRUE(image.isBigImage());
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_F(OpenImage, ReadOptionsReachThePlugin)
{
    provide({noise()});
    Vellum image;
    image.setReadOptions(0x1230);

    ASSERT_TRUE(openImage(image, file()));

    EXPECT_EQ(onlyCall(Asked::Read).readOptions, 0x1230U);
    EXPECT_EQ(image.getReadOptions(), 0x1230U);
}

TEST_F(OpenImage, OwnColoursAreKeptWhereAsked)
{
    provide({noise(), 0, wideProfile()});
    OpenOptions options;
    options.colors = PixelColors::FileOwn;
    Vellum image;

    const OpenResult result = openImage(image, file(), options);

    ASSERT_TRUE(result);
    EXPECT_EQ(result.colors, PixelColors::FileOwn);
    EXPECT_TRUE(samePixels(image, noise()));
    EXPECT_EQ(image.getIccProfile(), wideProfile());
}

TEST_F(OpenImage, ProfileThatDoesNotFitConvertsNothingAndTheResultSaysSo)
{
    for (const QByteArray &profile : {QByteArray("no profile"), cmykProfile(), greyProfile()}) {
        provide({noise(), 0, profile});
        Vellum image;

        const OpenResult result = openImage(image, file());

        ASSERT_TRUE(result);
        EXPECT_EQ(result.colors, PixelColors::FileOwn);
        EXPECT_TRUE(samePixels(image, noise()));
    }
}

TEST_F(OpenImage, ProfileOfSrgbConvertsNothing)
{
    provide({noise(), 0, QColorSpace(QColorSpace::SRgb).iccProfile()});
    Vellum image;

    const OpenResult result = openImage(image, file());

    ASSERT_TRUE(result);
    EXPECT_EQ(result.colors, PixelColors::Srgb);
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_F(OpenImage, CmykFilesAreNotConvertedAgain)
{
    provide({noise(), 0, wideProfile(), true});
    Vellum image;

    const OpenResult result = openImage(image, file());

    ASSERT_TRUE(result);
    EXPECT_EQ(result.colors, PixelColors::Srgb);
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_F(OpenImage, PictureOverALimitIsRefusedBeforeItIsRead)
{
    provide({noise()});
    OpenOptions options;
    options.limits = Limits {34, Limits::kNone};
    OpenResult result = expectFailure(FileStatus::OverLimit, file(), options);
    for (const char *word : {"7 x 5", "35", "34", "pixels="})
        EXPECT_TRUE(result.message.contains(QLatin1String(word))) << result.message.toStdString();

    options.limits = Limits {Limits::kNone, 119};
    result = expectFailure(FileStatus::OverLimit, file(), options);
    for (const char *word : {"7 x 5", "120", "119", "memory="})
        EXPECT_TRUE(result.message.contains(QLatin1String(word))) << result.message.toStdString();

    EXPECT_TRUE(callsOf(Asked::Read).empty());
    options.limits = Limits {35, 120};
    Vellum image;
    EXPECT_TRUE(openImage(image, file(), options));
}

TEST_F(OpenImage, PictureWhoseHeaderTellsNoSizeIsHeldAgainstTheLimitsAfterwards)
{
    provide({noise()});
    recorder().first.options = {};
    OpenOptions options;
    options.limits = Limits {34, Limits::kNone};

    expectFailure(FileStatus::OverLimit, file(), options);
}

TEST_F(OpenImage, DamagedPictureTellsHowManyRowsThereAre)
{
    provide({noise()});
    recorder().first.read = [](QImage *image) {
        Vellum *const target = Vellum::getVellum(image);
        for (int y = 0; y < 3; ++y)
            std::memcpy(image_scanLine(target, nullptr, y), noise().scanLineEx(y), 21);
        image_scanLine(target, nullptr, 3); // which is asked for and then not filled
        return false;
    };

    EXPECT_EQ(expectFailure(FileStatus::Damaged, file()).rowsRead, 3);

    for (const Place place : {Place::Plain, Place::Big}) {
        OpenOptions keep;
        keep.keepDamaged = true;
        keep.storage = place;
        Vellum image;
        const OpenResult result = openImage(image, file(), keep);
        EXPECT_EQ(result.status, FileStatus::Damaged);
        EXPECT_EQ(result.rowsRead, 3);
        Vellum expected = noise();
        std::memset(expected.scanLineEx(3), 0, 21);
        std::memset(expected.scanLineEx(4), 0, 21);
        EXPECT_TRUE(samePixels(image, expected));
    }
}

TEST_F(OpenImage, WholePictureHasAllItsRows)
{
    provide({noise()});
    Vellum image;
    EXPECT_EQ(openImage(image, file()).rowsRead, 5);
}

TEST_F(OpenImage, FilesThatCannotBeOpened)
{
    expectFailure(FileStatus::NotFound, path("missing.png"));
    expectFailure(FileStatus::NotFound, path("missing.hrle"));
    expectFailure(FileStatus::NotFound, QString());
    expectFailure(FileStatus::NotFound, folder.path());
    expectFailure(FileStatus::NotAPicture, makeFile("a.png", "Once upon a time"));
    expectFailure(FileStatus::NotAPicture, makeFile("b.png", ""));
    expectFailure(FileStatus::NotAPicture, makeFile("a.hrle", "Once upon a time"));
}

TEST_F(OpenImage, PageThatDoesNotExistIsNotFound)
{
    provide({noise()});
    OpenOptions options;
    options.page = 1;
    expectFailure(FileStatus::NotFound, file(), options);
    options.page = -1;
    expectFailure(FileStatus::NotFound, file(), options);
}

TEST_P(OpenStored, RegionIsThatOfTheUprightPicture)
{
    const Vellum stored = noise();
    for (int transformation = 0; transformation < 8; ++transformation) {
        SCOPED_TRACE(transformation);
        provide({stored, transformation});
        const Vellum whole = orientedNaively(stored, transformation);
        OpenOptions options = this->options();
        options.region = QRect(1, 2, 3, 2);
        Vellum image;

        ASSERT_TRUE(openImage(image, file(), options));

        EXPECT_TRUE(samePixels(image, whole.copyEx(options.region)));
    }
}

TEST_P(OpenStored, RegionAndSizeAreLeftToAPluginThatKnowsThem)
{
    const Vellum stored = noise();
    provide({stored, QImageIOHandler::TransformationRotate90});
    recorder().first.options += {QImageIOHandler::ClipRect, QImageIOHandler::ScaledSize};
    recorder().first.read = [](QImage *image) {
        return readPicture({makeNoise(2, 3, kFormat, test::Storage::Plain)}, image);
    };
    OpenOptions options = this->options();
    options.region = QRect(0, 0, 4, 6);
    options.size = QSize(3, 2);
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options));

    std::map<int, QVariant> set;
    for (const Call &call : callsOf(Asked::SetOption))
        set[call.option] = call.value;
    EXPECT_EQ(set[QImageIOHandler::ClipRect].toRect(), QRect(0, 1, 6, 4));
    EXPECT_EQ(set[QImageIOHandler::ScaledSize].toSize(), QSize(2, 3));
    EXPECT_EQ(onlyCall(Asked::Read).size, QSize(2, 3)) << "no more memory than is needed";
    EXPECT_EQ(image.size(), QSize(3, 2));
}

TEST_P(OpenStored, SizeThatThePluginDoesNotKnowIsReducedSmoothly)
{
    const Vellum stored = noise();
    provide({stored});
    OpenOptions options = this->options();
    options.format = OpenedFormat::AsDecoded;
    options.size = QSize(3, 2);
    Vellum image;

    ASSERT_TRUE(openImage(image, file(), options));

    EXPECT_TRUE(samePixels(image, smoothScaled(stored, QSize(3, 2))));
}

TEST_F(OpenImage, RegionOutsideThePictureIsRefused)
{
    provide({noise()});
    OpenOptions options;
    options.region = QRect(5, 0, 3, 2);
    expectFailure(FileStatus::NotFound, file(), options);
}

TEST_F(OpenImage, HrleFileIsOpened)
{
    const Vellum grey = noise(QImage::Format_Grayscale8);
    ASSERT_TRUE(HrleHandler().writeFile(path("a.hrle"), grey));
    for (const Place place : {Place::Plain, Place::Big}) {
        OpenOptions options;
        options.storage = place;
        Vellum image;

        const OpenResult result = openImage(image, path("a.hrle"), options);

        ASSERT_TRUE(result) << result.message.toStdString();
        EXPECT_EQ(result.rowsRead, 5);
        EXPECT_TRUE(samePixels(image, grey));
        EXPECT_EQ(image.isBigImage(), place == Place::Big);
    }
}

TEST_F(OpenImage, DamagedHrleFileTellsHowManyRowsThereAre)
{
    const Vellum grey = noise(QImage::Format_Grayscale8); // rows of 8 bytes
    ASSERT_TRUE(HrleHandler().writeFile(path("a.hrle"), grey));
    const QByteArray whole = contentOf(path("a.hrle"));
    const QString cut = makeFile("cut.hrle", whole.chopped(17)); // the last rows come first

    EXPECT_EQ(expectFailure(FileStatus::Damaged, cut).rowsRead, 2);

    OpenOptions keep;
    keep.keepDamaged = true;
    Vellum image;
    EXPECT_EQ(openImage(image, cut, keep).status, FileStatus::Damaged);
    EXPECT_EQ(std::memcmp(image.scanLineEx(4), grey.scanLineEx(4), 7), 0);
    EXPECT_EQ(image.scanLineEx(0)[0], 0);
}

TEST_F(OpenImage, FileThatIsLookedAtFirstCanThenBeRead)
{
    provide({noise(), QImageIOHandler::TransformationRotate90});
    PictureFile picture(file());

    ASSERT_TRUE(picture.result());
    EXPECT_EQ(picture.info().kind, "png");
    EXPECT_EQ(picture.info().size, QSize(5, 7));
    EXPECT_EQ(picture.info().format, kFormat);
    EXPECT_EQ(picture.info().pages, 1);
    EXPECT_TRUE(callsOf(Asked::Read).empty());
    Vellum image;
    EXPECT_TRUE(picture.read(image, untouched()));
    EXPECT_TRUE(samePixels(image, orientedNaively(noise(), 4)));
}
