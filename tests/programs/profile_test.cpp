// vellum profile, and vellum convert --to-profile

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

/// A picture with an embedded profile that Qt's own plugins keep.
QImage adobePicture()
{
    QImage image = photoLike(67, 41);
    image.setColorSpace(QColorSpace(QColorSpace::AdobeRgb));
    return image;
}

/// adobePicture() after a way through a PNG file.
QImage asRead() { return QImage::fromData(encoded(adobePicture(), "png"), "png"); }

} // namespace

TEST(Profile, JsonHasTheFactsOfAnIccFile)
{
    const ToolResult result =
        runTool({"profile", "--json", profileFile(QStringLiteral("cmyk.icm"))});

    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const QJsonObject facts = QJsonDocument::fromJson(result.out).object();
    EXPECT_EQ(facts["description"].toString(), "ISO Coated v2 300% (basICColor)");
    EXPECT_EQ(facts["colorSpace"].toString(), "CMYK");
    EXPECT_EQ(facts["connectionSpace"].toString(), "Lab");
    EXPECT_EQ(facts["class"].toString(), "output");
    EXPECT_EQ(facts["version"].toString(), "2.1");
    EXPECT_EQ(facts["bytes"].toInt(), 1052612);
    EXPECT_EQ(facts["intents"].toArray(),
              QJsonArray({"perceptual", "relative", "saturation", "absolute"}));
    EXPECT_EQ(facts["whitePoint"].toArray().size(), 3);
    EXPECT_NEAR(facts["inkLimit"].toDouble(), 300, 3);
}

TEST(Profile, TextHasTheFactsOfAnIccFile)
{
    const ToolResult result = runTool({"profile", profileFile(QStringLiteral("cmyk.icm"))});
    EXPECT_EQ(result.exitCode, 0);
    for (const char *fact : {"ISO Coated v2 300%", "1052612 bytes", "2.1", "output", "CMYK", "Lab",
                             "saturation", "ink limit"})
        EXPECT_TRUE(result.out.contains(fact)) << fact << " in " << result.out.constData();
}

TEST(Profile, ExtractWritesThePicturesProfile)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));

    const ToolResult result = runTool({"profile", "--extract", folder.path("out.icc"), picture});

    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(folder.read("out.icc"), asRead().colorSpace().iccProfile());
    EXPECT_FALSE(folder.read("out.icc").isEmpty());
}

TEST(Profile, APictureWithoutOneIsAnInputError)
{
    const Folder folder;
    const QString picture = folder.write("a.ppm", encoded(photoLike(9, 5), "ppm"));
    const ToolResult result = runTool({"profile", picture});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(result.err, "no colour profile"));
}

TEST(Profile, ADamagedProfileIsAnInputError)
{
    const Folder folder;
    const QByteArray icc = matrixProfile();
    const QString file = folder.write("a.icc", icc.left(icc.size() - 1));
    const ToolResult result = runTool({"profile", file});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(result.err, "cut off"));
}

TEST(ConvertToProfile, SrgbIsWhatTheLibraryMakes)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const QByteArray srgb = QColorSpace(QColorSpace::SRgb).iccProfile();
    vellum::ColorConversion conversion;
    conversion.intent = vellum::RenderingIntent::RelativeColorimetric;
    conversion.blackPointCompensation = true;
    const QImage source = asRead().convertToFormat(QImage::Format_RGB32);
    const Vellum expected =
        vellum::convertColors(source, source.colorSpace().iccProfile(), srgb, conversion);
    for (const char *storage : {"plain", "big"}) {
        const ToolResult result =
            runTool({"convert", "--to-profile", "srgb", "--intent", "relative", "--black-point",
                     "on", "--storage", storage, picture, folder.path("b.png")});

        ASSERT_EQ(result.exitCode, 0) << result.err.constData();
        const QImage written(folder.path("b.png"));
        EXPECT_EQ(written.convertToFormat(QImage::Format_RGB32), expected.toImage());
        EXPECT_EQ(written.colorSpace(), QColorSpace(QColorSpace::SRgb));
        EXPECT_NE(expected.toImage(), source);
    }
}

TEST(ConvertToProfile, GreyProfileGivesAGreyPicture)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const QString grey = folder.write("grey.icc", greyProfile());
    const QImage source = asRead().convertToFormat(QImage::Format_RGB32);
    const Vellum expected =
        vellum::convertColors(source, source.colorSpace().iccProfile(), greyProfile());

    const ToolResult result =
        runTool({"convert", "--to-profile", grey, picture, folder.path("b.hrle")});

    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    Vellum written;
    ASSERT_TRUE(HrleHandler().readFile(written, folder.path("b.hrle")));
    EXPECT_TRUE(samePixels(written, expected));
}

TEST(ConvertToProfile, CmykGoesIntoFilesThatHoldIt)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    for (const char *const name : {"b.jpg", "b.tif"}) {
        const QString file = folder.path(name);
        const ToolResult result = runTool({"convert", "--to-profile", "cmyk", picture, file});
        ASSERT_EQ(result.exitCode, 0) << result.err.constData();
        EXPECT_TRUE(runTool({"profile", file}).out.contains("CMYK"));

        // A file that was CMYK is taken for what it shows.
        const QString again = folder.path("again.tif");
        EXPECT_EQ(runTool({"convert", "--to-profile", "cmyk", file, again}).exitCode, 0);
        EXPECT_TRUE(runTool({"profile", again}).out.contains("CMYK"));
    }
}

TEST(ConvertToProfile, CmykFilesAreConvertedFromWhatTheyShow)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const QString srgb = folder.path("srgb.png");
    const QString shown = folder.path("shown.png");
    for (const char *const name : {"cmyk.jpg", "cmyk.tif"}) {
        const QString cmyk = folder.path(name);
        ASSERT_EQ(runTool({"convert", "--to-profile", "cmyk", picture, cmyk}).exitCode, 0);
        ASSERT_EQ(runTool({"convert", cmyk, shown}).exitCode, 0);
        ASSERT_EQ(runTool({"convert", "--to-profile", "srgb", cmyk, srgb}).exitCode, 0);
        const ToolResult result = runTool({"compare", "--tolerance", "1", shown, srgb});
        EXPECT_EQ(result.exitCode, 0) << result.out.constData();
    }
}

TEST(ConvertToProfile, CmykIsRefusedWhereItCannotBeHad)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const ToolResult png =
        runTool({"convert", "--to-profile", "cmyk", picture, folder.path("b.png")});
    EXPECT_EQ(png.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(png.err, "CMYK"));

    EXPECT_EQ(folder.names(), QStringList("a.png"));
}

TEST(ConvertToProfile, AnyPressAndIntentMayBeAskedFor)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const QString press = folder.write("other.icc", cmykProfile());
    const QString file = folder.path("b.tif");
    const auto inks = [&](const QString &profile, const QStringList &how) {
        const ToolResult result = runTool(QStringList {"convert", "--to-profile", profile} + how +
                                          QStringList {picture, file});
        EXPECT_EQ(result.exitCode, 0) << result.err.constData();
        return folder.read("b.tif");
    };
    EXPECT_FALSE(inks(press, {}).isEmpty());
    ASSERT_EQ(runTool({"profile", "--extract", folder.path("b.icc"), file}).exitCode, 0);
    EXPECT_EQ(folder.read("b.icc"), folder.read("other.icc"));

    const QByteArray perceptual = inks("cmyk", {});
    const QByteArray relative = inks("cmyk", {"--intent", "relative"});
    EXPECT_TRUE(inks("cmyk", {"--intent", "perceptual"}) == perceptual);
    EXPECT_FALSE(relative == perceptual);
    EXPECT_FALSE(inks("cmyk", {"--intent", "relative", "--black-point", "on"}) == relative);
}

TEST(ConvertToProfile, NoProfileIsAnInputError)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    for (const QString &profile : {picture, folder.path("missing.icc")}) {
        const ToolResult result =
            runTool({"convert", "--to-profile", profile, picture, folder.path("b.png")});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_TRUE(isOneErrorLine(result.err));
    }
}

TEST(DataFolder, ComesFromTheEnvironment)
{
    const Folder folder;
    const QString picture = folder.write("a.png", encoded(adobePicture(), "png"));
    const QStringList arguments {"convert", "--to-profile", "cmyk", picture, folder.path("b.png")};
    const ToolResult elsewhere = runToolAfter("export VELLUM_DATA_DIR=/nowhere", arguments);
    EXPECT_EQ(elsewhere.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(elsewhere.err, "cmyk.icm"));
}

TEST(Press, InkReportTellsWhatAPictureTakes)
{
    const Folder folder;
    QImage image(40, 30, QImage::Format_RGB32);
    image.fill(Qt::white);
    const QString white = folder.write("white.png", encoded(image, "png"));
    image.setPixel(7, 5, qRgb(0, 0, 0));
    const QString dot = folder.write("dot.png", encoded(image, "png"));

    const auto ink = [&](const QStringList &arguments) {
        const ToolResult result =
            runTool(QStringList {"convert", "--progress", "json", "--ink-report"} + arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err.constData();
        for (const QJsonObject &line : jsonLines(result.out)) {
            if (line.contains("ink"))
                return line["ink"].toObject();
        }
        return QJsonObject();
    };
    const QJsonObject none = ink({"--to-profile", "cmyk", white, folder.path("white.tif")});
    EXPECT_EQ(none["largest"].toDouble(-1), 0);
    EXPECT_EQ(none["mean"].toDouble(-1), 0);
    const QJsonObject some = ink({dot, folder.path("dot.jpg")});
    EXPECT_GT(some["largest"].toDouble(), 200);
    EXPECT_LE(some["largest"].toDouble(), 300.5); // the limit of the press
    EXPECT_EQ(some["largestAt"].toObject()["x"], 7);
    EXPECT_EQ(some["largestAt"].toObject()["y"], 5);

    const ToolResult text = runTool({"convert", "--ink-report", dot, folder.path("dot.tif")});
    EXPECT_TRUE(text.out.startsWith(dot.toLocal8Bit() + "\n  ink ")) << text.out.constData();
    EXPECT_TRUE(text.out.contains("at 7, 5; mean "));
}

TEST(Press, ProofIsWhatThePressMakesOfThePicture)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(60, 40), "png"));
    for (const char *storage : {"plain", "big"}) {
        const QString out = folder.path("proof.png");
        ASSERT_EQ(runTool({"convert", "--storage", storage, "--proof", "cmyk", "--intent",
                           "relative", in, out})
                      .exitCode,
                  0);
        QByteArray press;
        CVlLcmsManager::getDefaultCmykIccProfile(press);
        vellum::ColorConversion conversion;
        conversion.intent = vellum::RenderingIntent::RelativeColorimetric;
        const Vellum inks = vellum::convertColors(QImage(in), {}, press, conversion);
        conversion.blackPointCompensation = true;
        const Vellum expected = vellum::convertColors(inks, press, {}, conversion);
        EXPECT_TRUE(samePixels(QImage(out), expected)) << storage;
    }
    EXPECT_EQ(runTool({"convert", "--proof", "srgb", in, folder.path("b.png")}).exitCode, 1);
    EXPECT_EQ(
        runTool({"convert", "--proof", "cmyk", "--to-profile", "srgb", in, folder.path("b.png")})
            .exitCode,
        1);
}
