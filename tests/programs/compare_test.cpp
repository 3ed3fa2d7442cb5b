// vellum compare

#include "tool.h"
#include <vellum/vellum.h>

#include <QColorSpace>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <support/images.h>
#include <support/profiles.h>

using namespace vellum::test;

namespace {

/// photoLike() with one pixel brighter by \a steps in green.
QImage withSpot(int steps, QImage::Format format = QImage::Format_RGB32)
{
    QImage image = photoLike(67, 41);
    const QRgb pixel = image.pixel(12, 7);
    const int green = qGreen(pixel) < 128 ? qGreen(pixel) + steps : qGreen(pixel) - steps;
    image.setPixel(12, 7, qRgb(qRed(pixel), green, qBlue(pixel)));
    return image.convertToFormat(format);
}

/// Two files that differ in one pixel by three steps.
class Compare : public testing::Test
{
protected:
    ToolResult compare(const QStringList &arguments) const
    {
        return runTool(QStringList {"compare", a, b} + arguments);
    }

    QJsonObject facts(const QStringList &arguments = {}) const
    {
        const ToolResult result = compare(arguments + QStringList {"--json"});
        EXPECT_EQ(result.err, "");
        return QJsonDocument::fromJson(result.out).object();
    }

    Folder folder;
    QString a = folder.write(QString::fromUtf8("\xe5\x9b\xbe a.png"), encoded(withSpot(0), "png"));
    QString b = folder.write(QString::fromUtf8("\xc3\xa4 b.png"), encoded(withSpot(3), "png"));
};

int exitCodeOf(const QStringList &arguments) { return runTool(arguments).exitCode; }

} // namespace

TEST_F(Compare, EqualPicturesExitWithZero)
{
    const QString bmp = folder.write("a.bmp", encoded(withSpot(0), "bmp"));
    const QString wide =
        folder.write("a16.png", encoded(withSpot(0, QImage::Format_RGBX64), "png"));
    for (const QString &same : {a, bmp, wide}) {
        for (const char *storage : {"plain", "big"}) {
            const ToolResult result = runTool({"compare", "--storage", storage, a, same});
            EXPECT_EQ(result.exitCode, 0);
            EXPECT_EQ(result.err, "");
            EXPECT_TRUE(result.out.contains("equal")) << result.out.constData();
        }
    }
}

TEST_F(Compare, DifferentPicturesExitWithSix)
{
    for (const char *storage : {"plain", "big"}) {
        const ToolResult result = compare({"--storage", storage});
        EXPECT_EQ(result.exitCode, 6);
        EXPECT_EQ(result.err, "");
        for (const char *part : {"different", "1 of 2747 pixels", "12, 7", "largest 3"})
            EXPECT_TRUE(result.out.contains(part)) << part << " in " << result.out.constData();
    }
}

TEST_F(Compare, JsonHasTheFacts)
{
    const QJsonObject json = facts();
    EXPECT_EQ(json["equal"], false);
    EXPECT_EQ(json["sameProfile"], true);
    EXPECT_EQ(json["by"], "numbers");
    EXPECT_EQ(json["bits"], 8);
    EXPECT_EQ(json["pixels"], 67 * 41);
    EXPECT_EQ(json["differentPixels"], 1);
    EXPECT_EQ(json["first"].toObject(), (QJsonObject {{"x", 12}, {"y", 7}}));
    EXPECT_EQ(json["pictures"].toArray()[1].toObject()["file"], b);
    const QJsonArray channels = json["channels"].toArray();
    ASSERT_EQ(channels.size(), 3);
    const QJsonObject green = channels[1].toObject();
    EXPECT_EQ(green["name"], "green");
    EXPECT_EQ(green["largest"], 3);
    EXPECT_NEAR(green["mean"].toDouble(), 3.0 / (67 * 41), 1e-9);
    EXPECT_EQ(channels[0].toObject()["largest"], 0);
    EXPECT_TRUE(json["deltaE"].isUndefined());
}

TEST_F(Compare, SixteenBitsAreToldOnTheirOwnScaleAndOnThatOfEight)
{
    b = folder.write("b16.png", encoded(withSpot(3, QImage::Format_RGBX64), "png"));
    const QJsonObject json = facts();
    EXPECT_EQ(json["bits"], 16);
    const QJsonObject green = json["channels"].toArray()[1].toObject();
    EXPECT_EQ(green["largest"], 3 * 257);
    EXPECT_EQ(green["largest8"], 3);
}

TEST_F(Compare, GreyPicturesHaveOneChannelAndTransparentOnesFour)
{
    const auto names = [&] {
        QStringList list;
        for (const QJsonValue channel : facts()["channels"].toArray())
            list += channel.toObject()["name"].toString();
        return list;
    };
    const QImage mask = maskLike(67, 41);
    b = folder.write("alpha.png", encoded(photoLike(67, 41, QImage::Format_ARGB32), "png"));
    EXPECT_EQ(names(), QStringList({"red", "green", "blue", "alpha"}));
    a = folder.write("mask.png", encoded(mask, "png"));
    b = folder.write("mask.bmp", encoded(mask.convertToFormat(QImage::Format_Indexed8), "bmp"));
    EXPECT_EQ(names(), QStringList({"grey"}));
    EXPECT_EQ(facts()["equal"], true);
}

TEST_F(Compare, ToleranceIsTheLargestDifferenceThatIsNone)
{
    EXPECT_EQ(compare({"--tolerance", "3"}).exitCode, 0);
    EXPECT_EQ(compare({"--tolerance", "2.99"}).exitCode, 6);
    const double deltaE = facts({"--delta-e"})["deltaE"].toObject()["largest"].toDouble();
    EXPECT_GT(deltaE, 0.1);
    EXPECT_EQ(compare({"--delta-e", "--tolerance", QString::number(deltaE + 0.001)}).exitCode, 0);
    EXPECT_EQ(compare({"--delta-e", "--tolerance", QString::number(deltaE - 0.001)}).exitCode, 6);
}

TEST_F(Compare, PicturesOfAnotherSizeAreDifferent)
{
    b = folder.write("wide.png", encoded(photoLike(68, 41), "png"));
    const ToolResult result = compare({"--map", folder.path("map.png"), "--tolerance", "255"});
    EXPECT_EQ(result.exitCode, 6);
    EXPECT_TRUE(result.out.contains("67 x 41 and 68 x 41")) << result.out.constData();
    EXPECT_FALSE(folder.names().contains("map.png"));
    const QJsonObject json = facts();
    EXPECT_EQ(json["equal"], false);
    EXPECT_TRUE(json["differentPixels"].isUndefined());
}

// An RGB picture, and the same in the colours of another profile.
TEST_F(Compare, ProfilesDecideWhatIsCompared)
{
    QImage wide = withSpot(0, QImage::Format_RGBX64);
    wide.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    a = folder.write("wide.png", encoded(wide, "png"));
    b = folder.path("srgb.png");
    ASSERT_TRUE(succeeds({"convert", "--to-profile", "srgb", "--intent", "relative", a, b}));

    const QJsonObject byColor = facts({"--tolerance", "100"});
    EXPECT_EQ(byColor["by"], "color");
    EXPECT_EQ(byColor["sameProfile"], false);
    const QJsonObject byNumbers = facts({"--numbers"});
    EXPECT_EQ(byNumbers["by"], "numbers");
    EXPECT_GT(byNumbers["channels"].toArray()[0].toObject()["largest8"].toDouble(), 10);
    EXPECT_LT(byColor["deltaE"].toObject()["mean"].toDouble(), 3) << "but for what sRGB lacks";

    const QImage plain = withSpot(0);
    a = folder.write("plain.png", encoded(plain, "png"));
    QImage labelled = plain;
    labelled.setColorSpace(QColorSpace(QColorSpace::SRgb));
    b = folder.write("labelled.png", encoded(labelled, "png"));
    EXPECT_EQ(facts()["sameProfile"], true) << "sRGB by name and by default";
}

TEST_F(Compare, ProfileThatCannotBeUsedIsAnInputError)
{
    for (const QByteArray &icc : {QByteArray("no profile"), greyProfile()}) {
        const QByteArray content = "ICC_PROFILE" + QByteArray("\0\1\1", 3) + icc;
        QByteArray jpeg = encoded(withSpot(0), "jpg");
        jpeg.insert(2,
                    "\xff\xe2" + QByteArray(1, char((content.size() + 2) >> 8)) +
                        char((content.size() + 2) & 0xff) + content);
        b = folder.write("odd.jpg", jpeg);

        const ToolResult result = compare({});

        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(isOneErrorLine(result.err, "odd.jpg: its colour profile"))
            << result.err.constData();
        EXPECT_EQ(compare({"--numbers"}).exitCode, 6);
    }
}

TEST_F(Compare, MapShowsWhereThePicturesDiffer)
{
    for (const char *storage : {"plain", "big"}) {
        for (const QStringList &by : {QStringList {"--numbers"}, QStringList {"--delta-e"}}) {
            const QString map = folder.path(QString::fromUtf8("\xc3\xbc map.png"));
            ASSERT_EQ(compare(by + QStringList {"--storage", storage, "--map", map}).exitCode, 6);
            const QImage shown = QImage(map).convertToFormat(QImage::Format_Grayscale8);
            ASSERT_EQ(shown.size(), QSize(67, 41));
            for (int y = 0; y < 41; ++y)
                for (int x = 0; x < 67; ++x)
                    ASSERT_EQ(qGray(shown.pixel(x, y)), x == 12 && y == 7 ? 255 : 0);
        }
    }
    const QString hrle = folder.path("map.hrle");
    ASSERT_EQ(compare({"--tolerance", "3", "--map", hrle}).exitCode, 0);
    Vellum black;
    ASSERT_TRUE(HrleHandler().readFile(black, hrle));
    EXPECT_EQ(black.size(), QSize(67, 41));
}

TEST_F(Compare, BadFilesAndOptionsHaveTheirExitCodes)
{
    const QString broken = folder.write("broken.png", encoded(withSpot(0), "png").left(400));
    const QStringList before = folder.names();
    const auto expect = [&](const QStringList &arguments, int code) {
        const ToolResult result = runTool(QStringList("compare") + arguments);
        EXPECT_EQ(result.exitCode, code) << qPrintable(arguments.join(' '));
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
        EXPECT_EQ(folder.names(), before);
    };
    const QString map = folder.path("map.png");
    expect({a, folder.path("missing.png"), "--map", map}, 2);
    expect({broken, a, "--map", map}, 2);
    expect({a, broken}, 2);
    expect({a, b, "--map", folder.path("no/map.png")}, 3);
    expect({a, b, "--map", folder.path("map.unknown")}, 3);
    expect({a}, 1);
    expect({a, b, "--numbers", "--delta-e"}, 1);
    for (const char *const tolerance : {"-1", "nan", "inf", "many", ""})
        expect({a, b, "--tolerance", tolerance}, 1);
}

TEST_F(Compare, ProgressIsToldUpToHundred)
{
    const ToolResult result = compare({"--progress", "json", "--map", folder.path("map.png")});
    const int end = result.out.lastIndexOf("}\n");
    ASSERT_GT(end, 0);
    const std::vector<QJsonObject> lines = jsonLines(result.out.left(end + 2));
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines.front()["stage"], "read");
    EXPECT_EQ(lines.back()["percent"], 100);
    EXPECT_EQ(exitCodeOf({"compare", "--help"}), 0);
}
