// vellum pages

#include "tool.h"
#include <vellum/vellum.h>

#include <QColorSpace>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <cstring>
#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

QStringList filesIn(const QString &folder) { return QDir(folder).entryList(QDir::Files); }

Vellum opened(const QString &file, int page = 0)
{
    vellum::registerPlugins();
    vellum::OpenOptions options;
    options.format = vellum::OpenedFormat::AsDecoded;
    options.colors = vellum::PixelColors::FileOwn;
    options.page = page;
    Vellum picture;
    const vellum::OpenResult result = vellum::openImage(picture, file, options);
    EXPECT_TRUE(result) << result.message.toStdString();
    return picture;
}

/// Noise in whose unused bits there is what readers put there.
Vellum opaqueNoise(int w, int h, QImage::Format format, unsigned seed = 1)
{
    return vellum::converted(makeNoise(w, h, QImage::Format_RGB888, Storage::Plain, seed), format);
}

/// Pictures of several sizes and formats.
std::vector<Vellum> pictures()
{
    return {opaqueNoise(67, 41, QImage::Format_RGB32, 1),
            makeNoise(5, 300, QImage::Format_Grayscale8, Storage::Plain, 2),
            opaqueNoise(300, 7, QImage::Format_RGBX64, 3),
            makeNoise(31, 31, QImage::Format_ARGB32, Storage::Plain, 4)};
}

/// A TIFF file with the \a pages.
QString writePages(const Folder &folder, const QString &name, const std::vector<Vellum> &pages)
{
    vellum::registerPlugins();
    vellum::PageChain chain;
    for (const Vellum &page : pages)
        chain.append(page);
    EXPECT_TRUE(vellum::savePages(chain, folder.path(name)));
    return folder.path(name);
}

} // namespace

TEST(Pages, AreSplitFromFilesOfAnyName)
{
    const Folder folder;
    const QString page = folder.write("a.png", encoded(photoLike(9, 9), "png"));
    const QString joined = folder.path("50%2 of %3.tif");
    ASSERT_TRUE(succeeds({"pages", "join", page, page, joined}));
    ASSERT_TRUE(succeeds({"pages", "split", joined, "-o", folder.path("out")}));

    EXPECT_TRUE(QFileInfo::exists(folder.path("out/50%2 of %3-1.tif")));
    EXPECT_TRUE(QFileInfo::exists(folder.path("out/50%2 of %3-2.tif")));
    EXPECT_TRUE(runTool({"pages", "list", joined}).out.contains("50%2 of %3.tif\n  pages       2"));
}

TEST(PagesSplit, WritesEveryPage)
{
    for (const char *storage : {"plain", "big"}) {
        for (const char *kind : {"tif", "png"}) {
            const Folder folder;
            const std::vector<Vellum> pages = pictures();
            const QString file =
                writePages(folder, QString::fromUtf8("\xe6\x9b\xb8.v1.tif"), pages);
            const QString out = folder.path(QString::fromUtf8("d\xc3\xa9j\xc3\xa0/vu"));

            ASSERT_TRUE(succeeds(
                {"pages", "split", file, "-o", out, "--type", kind, "--storage", storage}));

            ASSERT_EQ(filesIn(out).size(), 4);
            for (size_t i = 0; i < pages.size(); ++i) {
                const QString name = QString::fromUtf8("%1/\xe6\x9b\xb8.v1-%2.%3")
                                         .arg(out)
                                         .arg(i + 1)
                                         .arg(QLatin1String(kind));
                EXPECT_TRUE(samePixels(opened(name), pages[i])) << name.toStdString();
            }
        }
    }
}

TEST(PagesSplit, NumbersHaveAsManyDigitsAsTheLast)
{
    const Folder folder;
    const std::vector<Vellum> pages(11, makeNoise(3, 3, QImage::Format_Grayscale8, Storage::Plain));
    const QString file = writePages(folder, "a.tif", pages);
    ASSERT_TRUE(succeeds({"pages", "split", file, "-o", folder.path("out")}));
    const QStringList names = filesIn(folder.path("out"));
    ASSERT_EQ(names.size(), 11);
    EXPECT_EQ(names.first(), "a-01.tif");
    EXPECT_EQ(names.last(), "a-11.tif");
}

TEST(PagesSplit, AndJoinKeepWhatIsAttached)
{
    const Folder folder;
    vellum::registerPlugins();
    Vellum picture = opaqueNoise(67, 41, QImage::Format_RGB32);
    picture.setDotsPerMeterX(1000);
    picture.setDotsPerMeterY(2000);
    picture.setText("Author", QString::fromUtf8("\xc5\x81ukasz"));
    const QByteArray icc = matrixProfile();
    picture.setIccProfile(icc);
    int stride = 0;
    uchar *const channels = picture.allocChannelsData(1, 8, stride);
    for (int i = 0; i < stride * 41; ++i)
        channels[i] = uchar(i * 7);
    picture.setText("ChannelNames", "Gold");
    static const unsigned char exif[] = {
        'E',  'x',  'i', 'f', 0, 0, 'I', 'I', '*',  0,    8, 0, 0, 0, 1, 0, 0x69,
        0x87, 4,    0,   1,   0, 0, 0,   26,  0,    0,    0, 0, 0, 0, 0, 1, 0,
        0x27, 0x88, 3,   0,   1, 0, 0,   0,   0x90, 0x01, 0, 0, 0, 0, 0, 0}; // ISO 400
    auto *const block = static_cast<char *>(malloc(sizeof exif));
    std::memcpy(block, exif, sizeof exif);
    picture.setExifData(block, sizeof exif);
    vellum::SaveOptions save;
    save.colors = vellum::PixelColors::FileOwn;
    const QString file = folder.path("page.tif");
    ASSERT_TRUE(vellum::saveImage(picture, file, save));

    const QString other = folder.write("other.png", encoded(photoLike(9, 5), "png"));
    const QString joined = folder.path("joined.tif");
    ASSERT_TRUE(succeeds({"pages", "join", other, file, joined}));
    ASSERT_TRUE(succeeds({"pages", "split", joined, "-o", folder.path("out")}));

    for (const auto &[name, page] :
         {std::pair(joined, 1), std::pair(folder.path("out/joined-2.tif"), 0)}) {
        vellum::OpenOptions options;
        options.page = page;
        options.format = vellum::OpenedFormat::AsDecoded;
        options.colors = vellum::PixelColors::FileOwn;
        Vellum result;
        ASSERT_TRUE(vellum::openImage(result, name, options));
        EXPECT_TRUE(samePixels(result, picture));
        EXPECT_EQ(result.dotsPerMeterX(), 1000);
        EXPECT_EQ(result.dotsPerMeterY(), 2000);
        EXPECT_EQ(result.text("Author"), QString::fromUtf8("\xc5\x81ukasz"));
        EXPECT_EQ(result.text("ChannelNames"), "Gold");
        EXPECT_EQ(result.getIccProfile(), icc);
        int count = 0;
        int bits = 0;
        const uchar *const kept = result.channelsData(count, bits, stride);
        ASSERT_TRUE(kept);
        EXPECT_EQ(count, 1);
        EXPECT_EQ(bits, 8);
        for (int y = 0; y < 41; ++y)
            EXPECT_EQ(std::memcmp(kept + y * stride, channels + y * stride, 67), 0) << y;
        const ExifData *const keptExif = result.getExifData();
        ASSERT_TRUE(keptExif);
        EXPECT_TRUE(QByteArray(keptExif->data, keptExif->size).contains(QByteArray("\x27\x88", 2)));
        result.freeChannelsData();
    }
    picture.freeChannelsData();
}

TEST(PagesJoin, TakesAllPagesOfPicturesOfEverySizeAndKind)
{
    for (const char *storage : {"plain", "big"}) {
        const Folder folder;
        const QImage photo = photoLike(67, 41);
        const QImage mask = maskLike(300, 9);
        const QString png = folder.write(QString::fromUtf8("\xc3\xa9.png"), encoded(photo, "png"));
        const QString bmp = folder.write("mask.bmp", encoded(mask, "bmp"));
        const QString tif = writePages(folder, "two.tif", {pictures()[1], pictures()[2]});
        const QString out = folder.path(QString::fromUtf8("\xe6\x9b\xb8.tif"));

        ASSERT_TRUE(
            succeeds({"pages", "join", "--force", png, tif, bmp, out, "--storage", storage}));

        EXPECT_EQ(vellum::PictureFile(out).info().pages, 4);
        EXPECT_TRUE(samePixels(opened(out, 0), photo));
        EXPECT_TRUE(samePixels(opened(out, 1), pictures()[1]));
        EXPECT_TRUE(samePixels(opened(out, 2), pictures()[2]));
        EXPECT_EQ(opened(out, 3).toImage().convertToFormat(QImage::Format_RGB32),
                  mask.convertToFormat(QImage::Format_RGB32));
    }
}

TEST(PagesJoin, OfOnePictureIsAFileOfOnePage)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(9, 5), "png"));
    ASSERT_TRUE(succeeds({"pages", "join", in, folder.path("b.tiff")}));
    EXPECT_EQ(vellum::PictureFile(folder.path("b.tiff")).info().pages, 1);
    EXPECT_TRUE(samePixels(opened(folder.path("b.tiff")), photoLike(9, 5)));
}

TEST(PagesJoin, LimitIsForAllPagesTogether)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(512, 512), "png")); // 1 MiB
    const QString out = folder.path("b.tif");
    const QStringList join {"pages", "join", "--force", in, in, in, out};
    ASSERT_TRUE(succeeds(QStringList {"--memory-limit", "3M"} + join));
    QFile::remove(out);
    const ToolResult result = runTool(QStringList {"--memory-limit", "2M"} + join);
    EXPECT_NE(result.exitCode, 0);
    EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
    EXPECT_EQ(folder.names(), QStringList("a.png"));
}

TEST(PagesList, TellsEveryPage)
{
    const Folder folder;
    const QString file = writePages(folder, "a.tif", pictures());
    const ToolResult text = runTool({"pages", "list", file});
    EXPECT_EQ(text.exitCode, 0);
    for (const char *part : {"67 x 41", "RGB32", "5 x 300", "Grayscale8", "300 x 7", "31 x 31"})
        EXPECT_TRUE(text.out.contains(part)) << part << " in " << text.out.constData();

    const ToolResult json = runTool({"pages", "list", file, "--json"});
    EXPECT_EQ(json.exitCode, 0);
    const QJsonArray pages = QJsonDocument::fromJson(json.out).object()["pages"].toArray();
    ASSERT_EQ(pages.size(), 4);
    EXPECT_EQ(
        pages[2].toObject(),
        (QJsonObject {
            {"page", 3}, {"width", 300}, {"height", 7}, {"format", "RGBX64"}, {"depth", 64}}));

    const QString one = folder.write("b.png", encoded(photoLike(9, 5), "png"));
    EXPECT_TRUE(runTool({"pages", "list", one}).out.contains("9 x 5"));
}

TEST(Pages, ConvertedFromCmykSaySo)
{
    const Folder folder;
    const QString rgb = folder.write("a.png", encoded(photoLike(67, 41), "png"));
    const QString cmyk = folder.path("cmyk.tif");
    ASSERT_TRUE(succeeds({"convert", "--to-profile", "cmyk", rgb, cmyk}));
    for (const QStringList &arguments : {QStringList {"split", cmyk, "-o", folder.path("out")},
                                         QStringList {"join", rgb, cmyk, folder.path("b.tif")}}) {
        const ToolResult result = runTool(QStringList("pages") + arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_TRUE(isOneErrorLine(result.err, "CMYK")) << result.err.constData();
    }
}

TEST(Pages, BadFilesAndOptionsHaveTheirExitCodes)
{
    const Folder folder;
    const QString good = folder.write("a.png", encoded(photoLike(67, 41), "png"));
    const QString two = writePages(folder, "two.tif", {pictures()[0], pictures()[2]});
    const QString damaged = folder.write("damaged.png", folder.read("a.png").left(300));
    const QString noPicture = folder.write("text.tif", "no picture");
    const QString file = folder.write("file", "x");
    folder.write("old.tif", "old");
    const QStringList before = folder.names();
    const QString out = folder.path("out");
    const auto expect = [&](const QStringList &arguments, int code) {
        const ToolResult result = runTool(QStringList("pages") + arguments);
        EXPECT_EQ(result.exitCode, code) << qPrintable(arguments.join(' '));
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
        EXPECT_EQ(folder.names(), before) << qPrintable(arguments.join(' '));
        EXPECT_EQ(folder.read("old.tif"), "old");
    };
    expect({}, 1);
    expect({"merge"}, 1);
    expect({"split", two}, 1);
    expect({"split", "-o", out}, 1);
    expect({"join", good}, 1);
    expect({"list"}, 1);
    expect({"split", noPicture, "-o", out}, 2);
    expect({"split", folder.path("missing.tif"), "-o", out}, 2);
    expect({"split", two, "-o", file}, 3);
    expect({"split", two, "-o", out, "--type", "unknown"}, 3);
    expect({"join", "--force", good, damaged, folder.path("old.tif")}, 2);
    expect({"join", "--force", good, folder.path("missing.png"), folder.path("old.tif")}, 2);
    expect({"join", good, good, folder.path("old.tif")}, 3);
    expect({"join", "--force", good, folder.path("old.tif"), folder.path("old.tif")}, 1);
    expect({"join", good, good, folder.path("out.png")}, 3);
    expect({"join", good, good, folder.path("no/out.tif")}, 3);
    expect({"list", noPicture}, 2);
}

TEST(Pages, SplitEndsAtADamagedPageAndKeepsThoseBefore)
{
    const Folder folder;
    vellum::registerPlugins();
    vellum::PageChain chain;
    chain.append(Vellum(photoLike(67, 41)));
    chain.append(Vellum(photoLike(300, 200)));
    vellum::SaveOptions options;
    options.subType = "deflate";
    ASSERT_TRUE(vellum::savePages(chain, folder.path("two.tif"), options));
    QByteArray bytes = folder.read("two.tif");
    const int middle = bytes.size() / 2; // within the second page, the larger one
    const QString file =
        folder.write("two.tif", bytes.replace(middle, 5000, QByteArray(5000, '\xff')));

    const ToolResult result = runTool({"pages", "split", file, "-o", folder.path("out")});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
    EXPECT_EQ(filesIn(folder.path("out")), QStringList("two-1.tif"));
    EXPECT_TRUE(samePixels(opened(folder.path("out/two-1.tif")), photoLike(67, 41)));
}
