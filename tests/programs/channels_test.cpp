// vellum channels

#include "tool.h"
#include <vellum/vellum.h>

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <memory>
#include <support/images.h>

using namespace vellum::test;

namespace {

/// A TIFF file with two extra channels, called \a names, of \a bits bits.
QString writeSpots(const Folder &folder, const QString &name, int bits, const QString &names,
                   std::vector<QImage> *channels = nullptr)
{
    vellum::registerPlugins();
    const auto format = bits == 16 ? QImage::Format_RGBX64 : QImage::Format_RGB32;
    Vellum image = makeNoise(67, 41, format, Storage::Plain);
    image.setDotsPerMeterX(1000);
    image.setDotsPerMeterY(2000);
    int stride = 0;
    uchar *const data = image.allocChannelsData(2, bits, stride);
    for (int i = 0; i < stride * image.height(); ++i)
        data[i] = uchar(i * 37 + i / 251);
    image.setText("ChannelNames", names);
    if (channels) {
        const QList<Vellum *> pictures = image.getChannelsImage(false, false);
        for (Vellum *const channel : pictures) {
            channels->push_back(toPlain(*channel));
            delete channel;
        }
    }
    EXPECT_TRUE(vellum::saveImage(image, folder.path(name)));
    image.freeChannelsData();
    return folder.path(name);
}

QStringList filesIn(const QString &folder) { return QDir(folder).entryList(QDir::Files); }

QJsonObject jsonOf(const QStringList &arguments)
{
    const ToolResult result = runTool(QStringList("channels") + arguments);
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    return QJsonDocument::fromJson(result.out).object();
}

} // namespace

TEST(Channels, AreLeftOutByOtherCommandsWhichSaySo)
{
    const Folder folder;
    const QString file = writeSpots(folder, "a.tif", 8, "Gold\nVarnish");

    const ToolResult result = runTool({"convert", file, folder.path("b.tif")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.contains("its extra channels, 2, are left out"))
        << result.err.constData();
    EXPECT_TRUE(succeeds({"convert", file, folder.path("b.jpg")}));
}

TEST(Channels, BecomePicturesOfTheirNameAndDepth)
{
    for (const int bits : {8, 16}) {
        for (const char *kind : {"tif", "png"}) {
            for (const char *storage : {"plain", "big"}) {
                const Folder folder;
                std::vector<QImage> expected;
                const QString file =
                    writeSpots(folder, QString::fromUtf8("\xc3\xa9tiquette.tif"), bits,
                               QString::fromUtf8("Gold\nV\xc3\xa9rnis"), &expected);
                const QString out = folder.path(QString::fromUtf8("\xe5\x87\xba/deep"));

                ASSERT_TRUE(
                    succeeds({"channels", file, "-o", out, "--type", kind, "--storage", storage}));

                const QString base = out + QString::fromUtf8("/\xc3\xa9tiquette-");
                const QString names[] = {"Gold", QString::fromUtf8("V\xc3\xa9rnis")};
                EXPECT_EQ(filesIn(out).size(), 2);
                for (size_t i = 0; i < 2; ++i) {
                    vellum::OpenOptions options;
                    options.format = vellum::OpenedFormat::AsDecoded;
                    Vellum channel;
                    ASSERT_TRUE(vellum::openImage(channel, base + names[i] + '.' + kind, options));
                    EXPECT_EQ(toPlain(channel), expected[i]) << bits << kind << storage;
                    EXPECT_EQ(channel.dotsPerMeterX(), 1000);
                    EXPECT_EQ(channel.dotsPerMeterY(), 2000);
                }
            }
        }
    }
}

TEST(Channels, AreListed)
{
    const Folder folder;
    const QString file = writeSpots(folder, "a.tif", 16, "Gold\nVarnish");
    const ToolResult text = runTool({"channels", "--list", file});
    EXPECT_EQ(text.exitCode, 0);
    for (const char *part : {"Gold", "Varnish", "16 bits"})
        EXPECT_TRUE(text.out.contains(part)) << text.out.constData();

    const QJsonObject json = jsonOf({"--list", "--json", file});
    EXPECT_EQ(json["file"], file);
    EXPECT_EQ(json["channels"].toArray()[1].toObject(),
              (QJsonObject {{"name", "Varnish"}, {"bits", 16}, {"extra", true}}));
    EXPECT_EQ(folder.names(), QStringList("a.tif"));
}

TEST(Channels, NamesBecomeSafeAndUniqueFileNames)
{
    const Folder folder;
    const QString file = writeSpots(folder, "a.tif", 8, "../x/y\n..");
    const QString same = writeSpots(folder, "b.tif", 8, "Gold\ngold");
    ASSERT_TRUE(succeeds({"channels", file, "-o", folder.path("out")}));
    EXPECT_EQ(filesIn(folder.path("out")), QStringList({"a-_.tif", "a-_x_y.tif"}));
    ASSERT_TRUE(succeeds({"channels", same, "-o", folder.path("same")}));
    EXPECT_EQ(filesIn(folder.path("same")), QStringList({"b-gold 2.tif", "b-Gold.tif"}));
    EXPECT_EQ(folder.names(), QStringList({"a.tif", "b.tif", "out", "same"}));
}

TEST(Channels, WithoutNamesAreNumbered)
{
    const Folder folder;
    const QString file = writeSpots(folder, "a.tif", 8, QString());
    const QJsonObject json = jsonOf({"--json", file, "-o", folder.path("out")});
    const QJsonObject second = json["channels"].toArray()[1].toObject();
    EXPECT_EQ(second["name"], "Channel 2");
    EXPECT_EQ(second["output"], folder.path("out") + "/a-Channel 2.tif");
    EXPECT_TRUE(QFile::exists(second["output"].toString()));
}

TEST(Channels, AllHasTheColoursToo)
{
    const Folder folder;
    const QImage picture = photoLike(67, 41, QImage::Format_ARGB32);
    const QString file = folder.write("a.png", encoded(picture, "png"));
    const QString out = folder.path("out");
    ASSERT_TRUE(succeeds({"channels", "--all", file, "-o", out, "--type", "png"}));
    int shift = 16;
    for (const char *name : {"Red", "Green", "Blue", "Alpha"}) {
        const QImage channel(out + "/a-" + name + ".png");
        ASSERT_EQ(channel.size(), picture.size()) << name;
        for (int y = 0; y < 41; ++y)
            for (int x = 0; x < 67; ++x)
                ASSERT_EQ(qGray(channel.pixel(x, y)), picture.pixel(x, y) >> shift & 0xff);
        shift = shift == 0 ? 24 : shift - 8;
    }

    const QString spots = writeSpots(folder, "b.tif", 16, "Gold\nVarnish");
    const QJsonArray channels = jsonOf({"--all", "--list", "--json", spots})["channels"].toArray();
    ASSERT_EQ(channels.size(), 5);
    EXPECT_EQ(channels[0].toObject()["name"], "Red");
    EXPECT_EQ(channels[0].toObject()["bits"], 16);
    EXPECT_EQ(channels[0].toObject()["extra"], false);
    EXPECT_EQ(channels[4].toObject()["name"], "Varnish");

    const QString mask = folder.write("c.png", encoded(maskLike(67, 41), "png"));
    ASSERT_TRUE(succeeds({"channels", "--all", mask, "-o", out, "--type", "png"}));
    EXPECT_TRUE(samePixels(QImage(out + "/c-Grey.png"), maskLike(67, 41)));
}

TEST(Channels, OfCmykPicturesAreSaidToBeConverted)
{
    const Folder folder;
    const QString rgb = folder.write("a.png", encoded(photoLike(67, 41), "png"));
    const QString cmyk = folder.path("cmyk.tif");
    ASSERT_TRUE(succeeds({"convert", "--to-profile", "cmyk", rgb, cmyk}));

    const ToolResult result = runTool({"channels", "--all", "--list", "--json", cmyk});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(isOneErrorLine(result.err, "CMYK")) << result.err.constData();
    EXPECT_EQ(QJsonDocument::fromJson(result.out).object()["convertedFromCmyk"], true);
}

TEST(Channels, BadFilesAndOptionsHaveTheirExitCodes)
{
    const Folder folder;
    const QString none = folder.write("none.png", encoded(photoLike(9, 5), "png"));
    const QString spots = writeSpots(folder, "a.tif", 8, "Gold\nVarnish");
    const QString damaged = folder.write("damaged.tif", folder.read("a.tif").left(200));
    const QString file = folder.write("file", "x");
    const QStringList before = folder.names();
    const QString out = folder.path("out");
    const auto expect = [&](const QStringList &arguments, int code, const QString &word = {}) {
        const ToolResult result = runTool(QStringList("channels") + arguments);
        EXPECT_EQ(result.exitCode, code) << qPrintable(arguments.join(' '));
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneErrorLine(result.err, word)) << result.err.constData();
        EXPECT_EQ(folder.names(), before);
    };
    expect({none, "-o", out}, 2, "no extra channels");
    expect({none, "--list"}, 2, "no extra channels");
    expect({damaged, "-o", out}, 2);
    expect({folder.path("missing.tif"), "--list"}, 2);
    expect({spots, "-o", file}, 3);
    expect({spots}, 1, "--list");
    expect({spots, "--list", "-o", out}, 1);
    expect({"--list"}, 1);
    EXPECT_EQ(runTool({"channels", spots, "-o", out, "--type", "unknown"}).exitCode, 3);
    EXPECT_EQ(filesIn(out), QStringList());
}
