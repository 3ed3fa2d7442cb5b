// vellum info

#include "tool.h"
#include <vellum/vellum.h>

#include <QColorSpace>
#include <QJsonArray>
#include <QJsonDocument>

#include <gtest/gtest.h>

#include <support/profiles.h>

using namespace vellum::test;

namespace {

QJsonArray infoOf(const QStringList &files)
{
    const ToolResult result = runTool(QStringList {"info", "--json"} + files);
    return QJsonDocument::fromJson(result.out).array();
}

/// A JPEG file whose EXIF record asks for a turn by 90 degrees.
QByteArray turnedJpeg(const QImage &image)
{
    static const char exif[] = "\xff\xe1\x00\x22"
                               "Exif\0\0"
                               "II*\0\x08\0\0\0" // little-endian, the list begins at 8
                               "\x01\0" // one entry: tag 0x112, one 16-bit number, 6
                               "\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"
                               "\0\0\0\0"; // no further list
    return encoded(image, "jpg").insert(2, exif, int(sizeof exif) - 1);
}

QByteArray profileNamed(const char *name)
{
    const OwnedProfile profile = openBytes(matrixProfile());
    const std::unique_ptr<cmsMLU, void (*)(cmsMLU *)> text(cmsMLUalloc(nullptr, 1), cmsMLUfree);
    cmsMLUsetASCII(text.get(), "en", "US", name);
    cmsWriteTag(profile.get(), cmsSigProfileDescriptionTag, text.get());
    return bytesOf(profile);
}

} // namespace

TEST(Info, JsonHasTheFactsOfAPicture)
{
    const Folder folder;
    QImage image = photoLike(67, 41, QImage::Format_ARGB32);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(6000);
    const QByteArray png = encoded(image, "png");
    const QString file = folder.write("a.png", png);

    const QJsonArray infos = infoOf({file});

    ASSERT_EQ(infos.size(), 1);
    const QJsonObject expected {{"file", file},
                                {"kind", "png"},
                                {"width", 67},
                                {"height", 41},
                                {"format", "ARGB32"},
                                {"depth", 32},
                                {"storage", "plain"},
                                {"dotsPerMeterX", 5000},
                                {"dotsPerMeterY", 6000},
                                {"memoryBytes", 10988},
                                {"fileBytes", png.size()},
                                {"bytesToConvert", (64 << 20) + 2 * 10988},
                                {"bytesToRotate", (64 << 20) + 2 * 10988},
                                {"colors", "RGB"},
                                {"pages", 1}};
    EXPECT_EQ(infos.at(0).toObject(), expected);
}

TEST(Info, TextHasTheFactsOfAPicture)
{
    const Folder folder;
    const QString file = folder.write("a.png", encoded(maskLike(67, 41), "png"));

    const ToolResult result = runTool({"info", file});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    for (const char *fact : {"a.png", "png", "67 x 41 pixels", "Grayscale8", "8 bits per pixel",
                             "(2788 bytes)", "plain", "dpi"})
        EXPECT_TRUE(result.out.contains(fact)) << fact << " in " << result.out.constData();
}

TEST(Info, HrleFileHasItsOwnResolution)
{
    const Folder folder;
    Vellum image(maskLike(67, 41));
    image.setDotsPerMeterX(4321);
    image.setDotsPerMeterY(1234);
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("a.hrle"), image));

    const QJsonObject info = infoOf({folder.path("a.hrle")}).at(0).toObject();

    EXPECT_EQ(info["kind"], "hrle");
    EXPECT_EQ(info["width"], 67);
    EXPECT_EQ(info["height"], 41);
    EXPECT_EQ(info["format"], "Grayscale8");
    EXPECT_EQ(info["memoryBytes"], 68 * 41);
    EXPECT_EQ(info["dotsPerMeterX"], 4321);
    EXPECT_EQ(info["dotsPerMeterY"], 1234);
}

class InfoResolution : public testing::TestWithParam<const char *>
{
};

TEST_P(InfoResolution, IsThatOfTheFile)
{
    const Folder folder;
    QImage image = photoLike(31, 17);
    image.setDotsPerMeterX(11811); // 300 and 150 per inch, which is how JPEG counts
    image.setDotsPerMeterY(5906);
    const QString file = folder.write("a", encoded(image, GetParam()));

    const QJsonObject info = infoOf({file}).at(0).toObject();

    EXPECT_EQ(info["dotsPerMeterX"], 11811);
    EXPECT_EQ(info["dotsPerMeterY"], 5906);
}

INSTANTIATE_TEST_SUITE_P(Kinds, InfoResolution, testing::Values("png", "jpg", "bmp"));

TEST(Info, TellsTheInksOfAPictureForThePress)
{
    const Folder folder;
    QImage image = photoLike(31, 17);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(5906);
    const QString png = folder.write("a.png", encoded(image, "png"));
    const QString press = profileFile("cmyk.icm");
    for (const QString &name : {folder.path("a.tif"), folder.path("a.jpg")}) {
        ASSERT_TRUE(succeeds({"convert", png, name, "--to-profile", press}));

        const QJsonObject info = infoOf({name}).at(0).toObject();
        const QString profile = vellum::describeProfile(readFile(press)).description;
        EXPECT_EQ(info["colors"], "CMYK");
        EXPECT_EQ(info["profile"], profile);
        EXPECT_NEAR(info["dotsPerMeterX"].toInt(), 11811, 40); // 300 per inch
        EXPECT_NEAR(info["dotsPerMeterY"].toInt(), 5906, 40);
        const QByteArray text = runTool({"info", name}).out;
        EXPECT_TRUE(text.contains("CMYK, profile: " + profile.toUtf8())) << text.constData();
    }
}

TEST(Info, TellsColoursOfEachKindOfPixels)
{
    const Folder folder;
    QImage bilevel(9, 9, QImage::Format_Mono);
    bilevel.fill(1);
    QImage indexed(9, 9, QImage::Format_Indexed8);
    indexed.setColorTable({qRgb(255, 0, 0), qRgb(0, 0, 255)});
    indexed.fill(1);
    const QString files[] = {folder.write("rgb.png", encoded(photoLike(9, 9), "png")),
                             folder.write("grey.png", encoded(maskLike(9, 9), "png")),
                             folder.write("indexed.png", encoded(indexed, "png")),
                             folder.write("bilevel.pbm", encoded(bilevel, "pbm"))};

    const QJsonArray infos = infoOf({files[0], files[1], files[2], files[3]});

    EXPECT_EQ(infos.at(0).toObject()["colors"], "RGB");
    EXPECT_EQ(infos.at(1).toObject()["colors"], "grey");
    EXPECT_EQ(infos.at(2).toObject()["colors"], "indexed");
    EXPECT_EQ(infos.at(3).toObject()["colors"], "bilevel");
    EXPECT_FALSE(infos.at(0).toObject().contains("profile"));
    EXPECT_TRUE(runTool({"info", files[0]}).out.contains("RGB, profile: none"));
}

TEST(Info, DoesNotKnowWhatQtsDecodersDoNotTell)
{
    const Folder folder;
    const QByteArray gif = QByteArray::fromHex("47494638376101000100800000ff000000ff002c00000000"
                                               "010001000002024401003b"); // one red pixel
    const QString file = folder.write("a.gif", gif);

    EXPECT_FALSE(infoOf({file}).at(0).toObject().contains("colors"));
    EXPECT_TRUE(runTool({"info", file}).out.contains("colours     not known"));
}

TEST(Info, TakesTheNameOfAProfileAsItIs)
{
    const Folder folder;
    QImage image = photoLike(9, 9);
    image.setColorSpace(QColorSpace::fromIccProfile(profileNamed("Ink 80%1\nand %6")));
    const QString file = folder.write("a.png", encoded(image, "png"));

    EXPECT_EQ(infoOf({file}).at(0).toObject()["profile"], "Ink 80%1 and %6");
    EXPECT_TRUE(runTool({"info", file}).out.contains("profile: Ink 80%1 and %6\n"));
}

TEST(Info, TurnsTheResolutionWithThePicture)
{
    const Folder folder;
    QImage image = photoLike(67, 41);
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(5906);
    const QString file = folder.write("a.jpg", turnedJpeg(image));

    const QJsonObject info = infoOf({file}).at(0).toObject();

    EXPECT_EQ(info["dotsPerMeterX"], 5906);
    EXPECT_EQ(info["dotsPerMeterY"], 11811);
}

TEST(Info, CountsPages)
{
    const Folder folder;
    const QString page = folder.write("a.png", encoded(photoLike(9, 9), "png"));
    const QString file = folder.path("a.tif");
    ASSERT_TRUE(succeeds({"pages", "join", page, page, file}));

    EXPECT_EQ(infoOf({file}).at(0).toObject()["pages"], 2);
    EXPECT_TRUE(runTool({"info", file}).out.contains("pages       2,"));
}

TEST(Info, ResolutionThatAFileDoesNotStateIsLeftOut)
{
    const Folder folder;
    const QString file = folder.write("a.pgm", encoded(maskLike(9, 9), "pgm"));

    EXPECT_FALSE(infoOf({file}).at(0).toObject().contains("dotsPerMeterX"));
    EXPECT_TRUE(runTool({"info", file}).out.contains("not stated"));
}

TEST(Info, StorageIsBigFromOneGibibyteOfPixels)
{
    const Folder folder; // the header is enough: the files hold no pixels
    const QString below = folder.writePngHeader("below.png", 32768, 32767);
    const QString from = folder.writePngHeader("from.png", 32768, 32768);

    const QJsonArray infos = infoOf({below, from});

    EXPECT_EQ(infos.at(0).toObject()["storage"], "plain");
    EXPECT_EQ(infos.at(1).toObject()["storage"], "big");
    EXPECT_EQ(infos.at(1).toObject()["memoryBytes"].toDouble(), 1073741824.0);
}

TEST(Info, TurnedPictureHasItsUprightSize)
{
    const Folder folder;
    const QByteArray jpeg = turnedJpeg(photoLike(67, 41));
    const QString file = folder.write("a.jpg", jpeg);

    const QJsonObject info = infoOf({file}).at(0).toObject();

    EXPECT_EQ(info["width"], 41);
    EXPECT_EQ(info["height"], 67);
    ASSERT_EQ(runTool({"convert", file, folder.path("a.png")}).exitCode, 0);
    EXPECT_EQ(QImage(folder.path("a.png")).size(), QSize(41, 67));
}

TEST(Info, TurnedPictureStaysUprightWhenItsExifDataGoesAlong)
{
    const Folder folder;
    const QString file = folder.write("a.jpg", turnedJpeg(photoLike(67, 41)));

    ASSERT_EQ(runTool({"convert", file, folder.path("b.jpg")}).exitCode, 0);

    EXPECT_TRUE(folder.read("b.jpg").contains("Exif"));
    const QJsonObject info = infoOf({folder.path("b.jpg")}).at(0).toObject();
    EXPECT_EQ(info["width"], 41);
    EXPECT_EQ(info["height"], 67);
}

TEST(Info, FileThatCannotBeReadDoesNotHideTheOthers)
{
    const Folder folder;
    const QString good = folder.write("good.png", encoded(maskLike(9, 9), "png"));

    const ToolResult result = runTool({"info", folder.path("missing.png"), good});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(result.err, "missing.png: "));
    EXPECT_TRUE(result.out.contains("good.png"));
}

TEST(Info, JsonNamesTheFileThatCannotBeRead)
{
    const Folder folder;
    const QString good = folder.write("good.png", encoded(maskLike(9, 9), "png"));

    const ToolResult result = runTool({"info", "--json", folder.path("missing.png"), good});

    EXPECT_EQ(result.exitCode, 2);
    const QJsonArray infos = QJsonDocument::fromJson(result.out).array();
    ASSERT_EQ(infos.size(), 2);
    EXPECT_FALSE(infos.at(0).toObject()["error"].toString().isEmpty());
    EXPECT_EQ(infos.at(1).toObject()["width"], 9);
}

TEST(Info, DamagedHrleFileIsAnError)
{
    const Folder folder;
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("a.hrle"),
                                        Vellum(photoLike(67, 41, QImage::Format_Grayscale8))));
    const QString cut = folder.write("cut.hrle", folder.read("a.hrle").chopped(1));

    const ToolResult result = runTool({"info", cut});

    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneErrorLine(result.err, "cut.hrle: "));
}

TEST(Info, FullStandardOutputIsAnError)
{
    const Folder folder;
    const QString file = folder.write("a.png", encoded(maskLike(9, 9), "png"));

    const ToolResult result = runToolAfter("exec >/dev/full", {"info", file});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err));
}
