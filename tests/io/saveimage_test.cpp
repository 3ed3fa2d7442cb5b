// vellum::saveImage: what encoders are handed, and files that are replaced whole or not at all.

#include <QBuffer>
#include <QColorSpace>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>

#include <csignal>
#include <functional>
#include <support/images.h>
#include <support/polls.h>
#include <support/profiles.h>
#include <support/recordingplugins.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace vellum;
using namespace vellum::test;

namespace {

const QByteArray &wideProfile()
{
    static const QByteArray profile = matrixProfile(); // holds the time at which it was made
    return profile;
}

Vellum noise(QImage::Format format = QImage::Format_ARGB32,
             test::Storage storage = test::Storage::Plain)
{
    return makeNoise(7, 5, format, storage);
}

class SaveImage : public WithRecordingPlugins
{
protected:
    /// Has the first plugin, which knows Vellum, write \a format.
    static void provideWriter(const char *format) { recorder().first.writes = {format}; }

    QStringList names() const
    {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }

    /// Expects that saving over an old file fails with \a status, and that all is as it was.
    void expectFailure(FileStatus status, const Vellum &image, const QString &name,
                       const SaveOptions &options = {})
    {
        const QString file = makeFile(name, "old");
        const QStringList before = names();
        const SaveResult result = saveImage(image, file, options);
        EXPECT_EQ(int(result.status), int(status)) << result.message.toStdString();
        EXPECT_FALSE(result.message.isEmpty());
        EXPECT_EQ(result.bytes, 0);
        EXPECT_EQ(contentOf(file), "old");
        EXPECT_EQ(names(), before);
    }
};

class SaveStored : public SaveImage, public testing::WithParamInterface<test::Storage>
{
};

INSTANTIATE_TEST_SUITE_P(Storages, SaveStored, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

/// Runs \a body where no file may grow beyond \a bytes: writes fail midway, as on a full disk.
bool passesWithSmallFiles(rlim_t bytes, const std::function<void()> &body)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit {bytes, bytes};
        const bool limited = setrlimit(RLIMIT_FSIZE, &limit) == 0;
        body();
        std::fflush(nullptr);
        _exit(limited && !testing::Test::HasFailure() ? 0 : 1);
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Ends of names, one for each way of writing: by a plugin, by Qt, by the HRLE handler.
constexpr const char *kKinds[] = {"shared", "png", "bmp", "ppm", "hrle"};

/// A plugin that writes the rows as they are.
bool writeRows(const QImage &image, QIODevice *device)
{
    const auto *const vellum = Vellum::getVellum(const_cast<QImage *>(&image));
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const row = image_constScanLine(vellum, &image, y);
        const qint64 bytes = image.bytesPerLine();
        if (!row || device->write(reinterpret_cast<const char *>(row), bytes) != bytes)
            return false;
    }
    return true;
}

} // namespace

TEST_P(SaveStored, PluginThatKnowsVellumGetsTheRowsWhereTheyAre)
{
    provideWriter("shared");
    const Vellum image = noise(QImage::Format_ARGB32, GetParam());

    const SaveResult result = saveImage(image, path("a.shared"));

    ASSERT_TRUE(result) << result.message.toStdString();
    EXPECT_EQ(result.bytes, 7);
    EXPECT_EQ(contentOf(path("a.shared")), "written");
    const Call write = onlyCall(Asked::Write);
    EXPECT_EQ(write.plugin, "first");
    EXPECT_TRUE(write.isVellum);
    EXPECT_EQ(write.isBig, GetParam() == test::Storage::Big);
    EXPECT_EQ(write.format, "shared");
}

TEST_P(SaveStored, OtherPluginsGetAPlainImage)
{
    recorder().second.writes = {"shared"};
    const Vellum image = noise(QImage::Format_ARGB32, GetParam());
    recorder().second.write = writeRows;

    ASSERT_TRUE(saveImage(image, path("a.shared")));

    EXPECT_FALSE(onlyCall(Asked::Write).isBig);
    QByteArray rows;
    for (int y = 0; y < 5; ++y)
        rows.append(reinterpret_cast<const char *>(image.scanLineEx(y)), 28);
    EXPECT_EQ(contentOf(path("a.shared")), rows);
}

TEST_P(SaveStored, QtWritesWhatHasNoPlugin)
{
    for (const char *kind : {"png", "bmp", "ppm", "PNG"}) {
        const QString file = path(QStringLiteral("a.") + QLatin1String(kind));
        const Vellum image = noise(QImage::Format_RGB32, GetParam());

        const SaveResult result = saveImage(image, file);

        ASSERT_TRUE(result) << result.message.toStdString();
        EXPECT_EQ(result.bytes, QFileInfo(file).size());
        const QImage read = QImage(file).convertToFormat(QImage::Format_RGB32);
        EXPECT_TRUE(samePixels(Vellum(read),
                               Vellum(toPlain(image)
                                          .convertToFormat(QImage::Format_RGB888)
                                          .convertToFormat(QImage::Format_RGB32))));
    }
}

TEST_P(SaveStored, HrleGetsGrey)
{
    const Vellum image = noise(QImage::Format_ARGB32, GetParam());

    ASSERT_TRUE(saveImage(image, path("a.hrle")));

    Vellum read;
    ASSERT_TRUE(HrleHandler().readFile(read, path("a.hrle")));
    EXPECT_TRUE(
        samePixels(read, Vellum(toPlain(image).convertToFormat(QImage::Format_Grayscale8))));
}

TEST_F(SaveImage, UpperCaseDoesNotSelectHrle)
{
    expectFailure(FileStatus::NotAPicture, noise(), "A.HRLE");
}

TEST_F(SaveImage, PluginThatKnowsVellumComesBeforeOthers)
{
    provideWriter("png");
    recorder().second.writes = {"png"};

    ASSERT_TRUE(saveImage(noise(), path("a.png")));

    EXPECT_EQ(onlyCall(Asked::Write).plugin, "first");
}

TEST_F(SaveImage, OptionsReachThePlugin)
{
    provideWriter("shared");
    using Io = QImageIOHandler;
    recorder().first.options = {Io::Quality, Io::CompressionRatio, Io::SubType, Io::OptimizedWrite,
                                Io::ProgressiveScanWrite};
    SaveOptions options;
    options.quality = 81;
    options.compression = 6;
    options.subType = "special";
    options.optimized = true;
    options.progressive = true;

    ASSERT_TRUE(saveImage(noise(), path("a.shared"), options));

    std::map<int, QVariant> set;
    for (const Call &call : callsOf(Asked::SetOption))
        set[call.option] = call.value;
    EXPECT_EQ(set[Io::Quality].toInt(), 81);
    EXPECT_EQ(set[Io::CompressionRatio].toInt(), 6);
    EXPECT_EQ(set[Io::SubType].toByteArray(), "special");
    EXPECT_TRUE(set[Io::OptimizedWrite].toBool());
    EXPECT_TRUE(set[Io::ProgressiveScanWrite].toBool());
}

TEST_F(SaveImage, ProfileIsEmbeddedOnlyWithPixelsThatAreItsColours)
{
    provideWriter("shared");
    Vellum image = noise();
    image.setIccProfile(wideProfile());
    SaveOptions options;

    ASSERT_TRUE(saveImage(image, path("a.shared"), options));
    EXPECT_EQ(onlyCall(Asked::Write).profile, QByteArray());

    recorder().calls.clear();
    options.colors = PixelColors::FileOwn;
    ASSERT_TRUE(saveImage(image, path("a.shared"), options));
    EXPECT_EQ(onlyCall(Asked::Write).profile, wideProfile());
}

TEST_P(SaveStored, ColoursAreConvertedToTheProfileAskedFor)
{
    provideWriter("shared");
    Vellum written;
    recorder().first.write = [&](const QImage &image, QIODevice *) {
        written = *Vellum::getVellum(const_cast<QImage *>(&image));
        return true;
    };
    Vellum image = noise(QImage::Format_ARGB32, GetParam());
    image.setIccProfile(lutProfile());
    SaveOptions options;
    options.profile = wideProfile();

    for (const PixelColors colors : {PixelColors::Srgb, PixelColors::FileOwn}) {
        options.colors = colors;
        ASSERT_TRUE(saveImage(image, path("a.shared"), options));
        const bool own = colors == PixelColors::FileOwn;
        const Vellum expected =
            convertColors(image, own ? image.getIccProfile() : QByteArray(), wideProfile());
        EXPECT_TRUE(samePixels(written, expected));
        EXPECT_EQ(written.getIccProfile(), wideProfile());
    }
    EXPECT_TRUE(samePixels(image, noise(QImage::Format_ARGB32, GetParam())));
}

TEST_F(SaveImage, QtEmbedsTheProfileToo)
{
    Vellum image = noise(QImage::Format_RGB32);
    image.setIccProfile(wideProfile());
    SaveOptions options;
    options.colors = PixelColors::FileOwn;

    ASSERT_TRUE(saveImage(image, path("a.png"), options));
    EXPECT_EQ(QImage(path("a.png")).colorSpace(), QColorSpace::fromIccProfile(wideProfile()));

    Vellum opened;
    OpenOptions open;
    open.colors = PixelColors::FileOwn;
    ASSERT_TRUE(openImage(opened, path("a.png"), open));
    EXPECT_FALSE(opened.getIccProfile().isEmpty());
}

TEST_F(SaveImage, CmykIsPreparedForThePlugin)
{
    provideWriter("shared");
    SaveOptions options;
    options.cmyk = true;
    const Vellum image = noise();

    ASSERT_TRUE(saveImage(image, path("a.shared"), options));

    EXPECT_TRUE(onlyCall(Asked::Write).saveAsCmyk);
    EXPECT_TRUE(onlyCall(Asked::Write).hasCmykTransform);
    EXPECT_FALSE(image.getSaveAsCmyk());
}

TEST_F(SaveImage, CmykIsRefusedWhereNoPluginWritesIt)
{
    SaveOptions options;
    options.cmyk = true;
    expectFailure(FileStatus::NotAPicture, noise(), "a.png", options);
    expectFailure(FileStatus::NotAPicture, noise(), "a.hrle", options);
}

TEST_F(SaveImage, InksAreThoseOfTheProfileThatIsAskedFor)
{
    provideWriter("shared");
    QByteArray press;
    recorder().first.write = [&](const QImage &image, QIODevice *) {
        return Vellum::getVellum(const_cast<QImage *>(&image))->getCmykIccProfile(press);
    };
    SaveOptions options;
    options.cmyk = true;
    options.profile = cmykProfile();
    Vellum image = noise();
    image.setIccProfile(wideProfile());
    options.colors = PixelColors::FileOwn;
    ASSERT_TRUE(saveImage(image, path("a.shared"), options));
    EXPECT_EQ(press, options.profile);

    options.profile = wideProfile();
    expectFailure(FileStatus::NotWritten, image, "a.shared", options);
}

TEST_F(SaveImage, ExifDataGoesAlong)
{
    provideWriter("shared");
    QByteArray exif;
    recorder().first.write = [&](const QImage &image, QIODevice *) {
        const ExifData *const data = Vellum::getVellum(const_cast<QImage *>(&image))->getExifData();
        exif = data ? QByteArray(data->data, data->size) : QByteArray();
        return true;
    };
    Vellum image = noise();
    auto *const data = static_cast<char *>(std::malloc(4));
    std::memcpy(data, "exif", 4);
    image.setExifData(data, 4);

    ASSERT_TRUE(saveImage(image, path("a.shared")));

    EXPECT_EQ(exif, "exif");
    EXPECT_EQ(image.getExifData()->data, data);
}

TEST_P(SaveStored, ExtraChannelsGoAlongAndStayTheImages)
{
    recorder().first.writes = {"tif"};
    Vellum image = makeNoise(7, 5, QImage::Format_RGB32, GetParam());
    int stride = 0;
    uchar *const data = image.allocChannelsData(2, 8, stride);
    for (int i = 0; i < stride * 5; ++i)
        data[i] = uchar(i);
    const QByteArray bytes(reinterpret_cast<const char *>(data), stride * 5);
    QByteArray written;
    recorder().first.write = [&](const QImage &picture, QIODevice *) {
        int channels = 0;
        int bits = 0;
        const uchar *const handed =
            Vellum::getVellum(const_cast<QImage *>(&picture))->channelsData(channels, bits, stride);
        EXPECT_EQ(channels, 2);
        EXPECT_EQ(bits, 8);
        if (handed)
            written = QByteArray(reinterpret_cast<const char *>(handed), stride * 5);
        return true;
    };

    ASSERT_TRUE(saveImage(image, path("a.tif")));

    EXPECT_EQ(written, bytes);
    int channels = 0;
    int bits = 0;
    EXPECT_EQ(image.channelsData(channels, bits, stride), data);
    image.freeChannelsData();
}

TEST_P(SaveStored, SizeAloneIsThatOfTheFile)
{
    provideWriter("shared");
    recorder().first.write = writeRows;
    for (const char *kind : kKinds) {
        const QString file = path(QStringLiteral("a.") + QLatin1String(kind));
        const Vellum image = noise(QImage::Format_RGB32, GetParam());
        SaveOptions options;
        options.sizeOnly = true;

        const SaveResult size = saveImage(image, file, options);

        ASSERT_TRUE(size) << kind << size.message.toStdString();
        EXPECT_FALSE(QFile::exists(file));
        ASSERT_TRUE(saveImage(image, file));
        EXPECT_EQ(size.bytes, QFileInfo(file).size()) << kind;
    }
}

TEST_P(SaveStored, ProgressNeverFallsAndEndsWithHundred)
{
    provideWriter("shared");
    recorder().first.write = writeRows;
    for (const char *kind : kKinds) {
        std::vector<int> percents;
        SaveOptions options;
        options.profile = wideProfile();
        options.progress = [&](int percent) {
            percents.push_back(percent);
            return true;
        };
        Vellum image = noise(QImage::Format_RGB32, GetParam());
        Polls polls;
        polls.attach(image);

        ASSERT_TRUE(saveImage(image, path(QStringLiteral("a.") + QLatin1String(kind)), options));

        ASSERT_FALSE(percents.empty());
        EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
        EXPECT_EQ(percents.back(), 100);
        EXPECT_EQ(polls.percents, percents);
    }
}

TEST_P(SaveStored, CancelAtAnyPercentageLeavesTheOldFile)
{
    provideWriter("shared");
    recorder().first.write = writeRows;
    for (const char *kind : kKinds) {
        for (const int stopAt : {0, 10, 50, 90, 100}) {
            SCOPED_TRACE(std::string(kind) + " " + std::to_string(stopAt));
            SaveOptions options;
            options.progress = [&](int percent) { return percent < stopAt; };
            expectFailure(FileStatus::Cancelled,
                          makeNoise(301, 207, QImage::Format_RGB32, GetParam()),
                          QStringLiteral("a.") + QLatin1String(kind), options);
        }
    }
}

TEST_F(SaveImage, PluginThatFailsLeavesTheOldFile)
{
    provideWriter("shared");
    recorder().first.write = [](const QImage &, QIODevice *device) {
        device->write("half");
        return false;
    };
    expectFailure(FileStatus::NotWritten, noise(), "a.shared");
}

TEST_F(SaveImage, FullDiskLeavesTheOldFile)
{
    provideWriter("shared");
    recorder().first.write = writeRows;
    for (const char *kind : kKinds) {
        for (const rlim_t room : {512, 50000}) {
            SCOPED_TRACE(std::string(kind) + " " + std::to_string(room));
            EXPECT_TRUE(passesWithSmallFiles(room, [&] {
                const Vellum image =
                    makeNoise(301, 207, QImage::Format_RGB32, test::Storage::Plain);
                expectFailure(FileStatus::NotWritten, image,
                              QStringLiteral("a.") + QLatin1String(kind));
            }));
        }
    }
}

TEST_F(SaveImage, WriterThatDoesNotNoticeAFullDiskLeavesTheOldFile)
{
    provideWriter("shared");
    recorder().first.write = [](const QImage &, QIODevice *device) {
        for (int i = 0; i < 100; ++i)
            device->write(QByteArray(1000, 'x'));
        return true;
    };
    EXPECT_TRUE(passesWithSmallFiles(
        50000, [&] { expectFailure(FileStatus::NotWritten, noise(), "a.shared"); }));
}

TEST_F(SaveImage, TargetsThatCannotBeWritten)
{
    QDir(folder.path()).mkdir("sub.png");
    ASSERT_EQ(mkfifo(path("pipe.png").toLocal8Bit().constData(), 0600), 0);
    const QStringList before = names();

    EXPECT_EQ(saveImage(noise(), path("sub.png")).message, "is a folder");
    EXPECT_EQ(saveImage(noise(), path("sub.png/"),
                        [] {
                            SaveOptions options;
                            options.format = "png";
                            return options;
                        }())
                  .status,
              FileStatus::NotWritten);
    EXPECT_EQ(saveImage(noise(), path("pipe.png")).message, "is not a regular file");
    EXPECT_EQ(saveImage(noise(), path("missing/a.png")).status, FileStatus::NotFound);
    EXPECT_EQ(saveImage(noise(), "/proc/a.png").status, FileStatus::NotWritten);
    EXPECT_EQ(saveImage(noise(), QString()).status, FileStatus::NotWritten);
    EXPECT_EQ(names(), before);
}

TEST_F(SaveImage, ProtectedFolderAndFile)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "nothing is protected from root";
    const QString file = makeFile("a.png", "old");
    QFile::setPermissions(file, QFile::ReadOwner);
    EXPECT_EQ(saveImage(noise(), file).message, "is write-protected");
    QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::ExeOwner);
    EXPECT_EQ(saveImage(noise(), path("b.png")).status, FileStatus::NotWritten);
    QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::ExeOwner | QFile::WriteOwner);
}

TEST_F(SaveImage, WhatCannotBeSaved)
{
    expectFailure(FileStatus::NotAPicture, Vellum(), "a.png");
    expectFailure(FileStatus::NotAPicture, noise(), "a.nosuchkind");
    expectFailure(FileStatus::NotAPicture, noise(), "a");
    SaveOptions damaged;
    damaged.profile = "no profile";
    expectFailure(FileStatus::NotWritten, noise(), "a.png", damaged);
}

TEST_F(SaveImage, BigImageThatDoesNotFitPlainMemoryIsRefused)
{
    SaveOptions options;
    options.limits = Limits {Limits::kNone, 139}; // 5 rows of 28 bytes
    expectFailure(FileStatus::OverLimit, noise(QImage::Format_ARGB32, test::Storage::Big), "a.png",
                  options);
    EXPECT_TRUE(saveImage(noise(), path("a.png"), options)) << "plain images need no copy";
    options.limits->memory = 140;
    EXPECT_TRUE(
        saveImage(noise(QImage::Format_ARGB32, test::Storage::Big), path("a.png"), options));
}

TEST_F(SaveImage, LinkAndPermissionsStay)
{
    const QString file = makeFile("a.png", "old");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup);
    const QFile::Permissions permissions = QFile::permissions(file);
    ASSERT_TRUE(QFile::link(file, path("link.png")));

    ASSERT_TRUE(saveImage(noise(), path("link.png")));

    EXPECT_TRUE(QFileInfo(path("link.png")).isSymLink());
    EXPECT_FALSE(QImage(file).isNull());
    EXPECT_EQ(QFile::permissions(file), permissions);
}

TEST_F(SaveImage, DeviceIsWrittenWhereItStands)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    buffer.write("before");
    SaveOptions options;
    options.format = "png";

    const SaveResult result = saveImage(noise(), buffer, options);

    ASSERT_TRUE(result);
    EXPECT_EQ(result.bytes, buffer.data().size() - 6);
    EXPECT_FALSE(QImage::fromData(buffer.data().mid(6)).isNull());
    QBuffer closed;
    EXPECT_EQ(saveImage(noise(), closed, options).status, FileStatus::NotWritten);
}

TEST_F(SaveImage, PaddingOfRowsDoesNotReachTheFile)
{
    for (const char *kind : {"bmp", "hrle"}) {
        const auto format = kind[0] == 'b' ? QImage::Format_RGB888 : QImage::Format_Grayscale8;
        for (const auto storage : kStorages) {
            Vellum clean = noise(format, storage).copyEx();
            Vellum dirty = noise(format, storage); // noise in its padding
            for (int y = 0; y < 5; ++y) {
                const int used = 7 * clean.depth() / 8;
                std::memset(clean.scanLineEx(y) + used, 0, size_t(clean.bytesPerLine() - used));
            }
            const QString suffix = QLatin1Char('.') + QLatin1String(kind);
            ASSERT_TRUE(saveImage(clean, path("clean" + suffix)));
            ASSERT_TRUE(saveImage(dirty, path("dirty" + suffix)));
            EXPECT_EQ(contentOf(path("clean" + suffix)), contentOf(path("dirty" + suffix)));
        }
    }
}
