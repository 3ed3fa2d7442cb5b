// vellum convert, when all goes well.

#include "tool.h"
#include <vellum/vellum.h>

#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <string>
#include <support/images.h>
#include <sys/stat.h>
#include <tuple>

using namespace vellum::test;

namespace {

QStringList storageOption(const char *storage) { return {"--storage", storage}; }

/// Permission bits, as in the numbers of chmod.
mode_t modeOf(const QString &file)
{
    struct stat status = {};
    stat(file.toLocal8Bit().constData(), &status);
    return status.st_mode & 07777;
}

/// Converts and expects that nothing is said.
void convert(const QStringList &arguments)
{
    const ToolResult result = runTool(QStringList {"convert"} + arguments);
    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    ASSERT_EQ(result.out, "");
    ASSERT_EQ(result.err, "");
}

} // namespace

using Param = std::tuple<QImage::Format, const char *>;

class ConvertToHrle : public testing::TestWithParam<Param>
{
};

TEST_P(ConvertToHrle, AndBackGivesTheGreyPicture)
{
    const auto [format, storage] = GetParam();
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47, format), "png"));
    const QString hrle = folder.path("a.hrle");
    const QString out = folder.path("out.png");

    convert(storageOption(storage) + QStringList {in, hrle});
    convert(storageOption(storage) + QStringList {hrle, out});

    const QImage expected = QImage(in).convertToFormat(QImage::Format_Grayscale8);
    EXPECT_TRUE(samePixels(QImage(out), expected));
    EXPECT_EQ(vellum::checkHrle(hrle).status, vellum::HrleCheck::Complete);
    EXPECT_EQ(folder.names(), QStringList({"a.hrle", "in.png", "out.png"}));
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ConvertToHrle,
    testing::Combine(testing::Values(QImage::Format_Mono, QImage::Format_Indexed8,
                                     QImage::Format_RGB32, QImage::Format_ARGB32,
                                     QImage::Format_Grayscale8, QImage::Format_RGBA64),
                     testing::Values("plain", "big")),
    [](const auto &format) {
        return "Format" + std::to_string(std::get<0>(format.param)) + std::get<1>(format.param);
    });

TEST(Convert, StorageDoesNotChangeTheFile)
{
    const Folder folder;
    const QString photo = folder.write("photo.png", encoded(photoLike(301, 47), "png"));
    const QString mask = folder.write("mask.png", encoded(maskLike(1001, 203), "png"));
    for (const QString &in : {photo, mask}) {
        for (const char *storage : {"auto", "plain", "big"}) {
            convert(storageOption(storage) + QStringList {in, folder.path(storage) + ".hrle"});
            convert(storageOption(storage) + QStringList {in, folder.path(storage) + ".bmp"});
        }

        EXPECT_EQ(folder.read("plain.hrle"), folder.read("big.hrle"));
        EXPECT_EQ(folder.read("plain.hrle"), folder.read("auto.hrle"));
        EXPECT_EQ(folder.read("plain.bmp"), folder.read("big.bmp"));
    }
}

TEST(Convert, VerboseTellsWhereThePixelsLive)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));

    const auto messages = [&](const char *storage) {
        return runTool({"convert", "-v", "--storage", storage, in, folder.path("a.hrle")}).err;
    };

    EXPECT_TRUE(messages("big").contains("67 x 41 Grayscale8, big"));
    EXPECT_TRUE(messages("plain").contains("67 x 41 Grayscale8, plain"));
    EXPECT_TRUE(messages("auto").contains("67 x 41 Grayscale8, plain"));
    EXPECT_TRUE(messages("auto").contains("Rle_Encode size="));
}

TEST(Convert, MaskIsWrittenAsRuns)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(maskLike(1001, 203), "png"));

    convert({in, folder.path("a.hrle")});

    EXPECT_TRUE(vellum::checkHrle(folder.path("a.hrle")).compressed);
    EXPECT_LT(folder.read("a.hrle").size(), 1001 * 203 / 10);
}

TEST(Convert, PaddingOfRawRowsIsZero)
{
    const Folder folder;
    const QString in =
        folder.write("in.png", encoded(photoLike(5, 3, QImage::Format_Grayscale8), "png"));

    convert({in, folder.path("a.hrle")});

    const QByteArray file = folder.read("a.hrle");
    ASSERT_EQ(file.size(), 54 + 3 * 8);
    for (int row = 0; row < 3; ++row)
        EXPECT_EQ(file.mid(54 + row * 8 + 5, 3), QByteArray(3, '\0')) << "row " << row;
}

TEST(Convert, OnePixelGoesThroughBothWays)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(1, 1), "png"));

    convert({"--storage", "big", in, folder.path("a.hrle")});
    convert({"--storage", "big", folder.path("a.hrle"), folder.path("out.png")});

    EXPECT_TRUE(samePixels(QImage(folder.path("out.png")),
                           QImage(in).convertToFormat(QImage::Format_Grayscale8)));
}

TEST(Convert, QtKindsKeepColourAndResolution)
{
    const Folder folder;
    QImage image = photoLike(67, 41, QImage::Format_ARGB32);
    image.setDotsPerMeterX(5000);
    const QString in = folder.write("in.png", encoded(image, "png"));

    convert({"--storage", "big", in, folder.path("OUT.PNG")});

    const QImage out(folder.path("OUT.PNG"));
    EXPECT_TRUE(samePixels(out, image));
    EXPECT_EQ(out.dotsPerMeterX(), 5000);
}

TEST(Convert, ResolutionGoesIntoHrleAndBack)
{
    const Folder folder;
    QImage image = photoLike(67, 41);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(6000);
    const QString in = folder.write("in.png", encoded(image, "png"));

    convert({"--storage", "big", in, folder.path("a.hrle")});
    convert({"--storage", "big", folder.path("a.hrle"), folder.path("out.png")});

    EXPECT_EQ(QImage(folder.path("out.png")).dotsPerMeterX(), 5000);
    EXPECT_EQ(QImage(folder.path("out.png")).dotsPerMeterY(), 6000);
}

TEST(Convert, InputMayBeTheOutputOnRequest)
{
    const Folder folder;
    const QImage image = photoLike(67, 41);
    const QString png = folder.write("a.png", encoded(image, "png"));
    const QString hrle = folder.path("a.hrle");
    convert({png, hrle});
    const QByteArray before = folder.read("a.hrle");

    EXPECT_EQ(runTool({"convert", png, png}).exitCode, 1);
    convert({"--in-place", png});
    convert({"--in-place", hrle});

    EXPECT_TRUE(samePixels(QImage(png), image));
    EXPECT_EQ(folder.read("a.hrle"), before);
    EXPECT_EQ(folder.names(), QStringList({"a.hrle", "a.png"}));
}

TEST(Convert, ExistingFileIsReplacedAndKeepsItsPermissions)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));
    const QString out = folder.write("out.hrle", "old");
    ASSERT_EQ(chmod(out.toLocal8Bit().constData(), 0651), 0);

    convert({in, out});

    EXPECT_EQ(modeOf(out), 0651u);
    EXPECT_EQ(vellum::checkHrle(out).status, vellum::HrleCheck::Complete);
}

TEST(Convert, NewFileHasThePermissionsThatTheUmaskLeaves)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));
    const QString out = folder.path("out.hrle");

    ASSERT_EQ(runToolAfter("umask 026", {"convert", in, out}).exitCode, 0);

    EXPECT_EQ(modeOf(out), 0640u);
}

TEST(Convert, SymbolicLinkStaysAndItsFileIsReplaced)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));
    const QString file = folder.write("file.hrle", "old");
    ASSERT_TRUE(QFile::link(file, folder.path("link.hrle")));

    convert({in, folder.path("link.hrle")});

    EXPECT_TRUE(QFileInfo(folder.path("link.hrle")).isSymLink());
    EXPECT_EQ(vellum::checkHrle(file).status, vellum::HrleCheck::Complete);
}

TEST(Convert, NamesMayHoldAnything)
{
    const Folder folder;
    const QString in =
        folder.write(QStringLiteral("-ä\n\" 1.png"), encoded(photoLike(67, 41), "png"));

    convert({in, folder.path(QStringLiteral("ü %1.hrle"))});

    EXPECT_EQ(folder.names().size(), 2);
}

TEST(Progress, JsonLinesGoFromNothingToAll)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 6000, 6000);

    const ToolResult result =
        runTool({"convert", "--progress", "json", "--storage", "big", in, folder.path("a.hrle")});

    ASSERT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    const auto lines = jsonLines(result.out);
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines.front()["percent"], 0);
    EXPECT_EQ(lines.front()["stage"], "read");
    EXPECT_EQ(lines.back()["percent"], 100);
    EXPECT_EQ(lines.back()["stage"], "done");
    for (size_t i = 1; i < lines.size(); ++i)
        EXPECT_GE(lines[i]["percent"].toInt(), lines[i - 1]["percent"].toInt());
}

TEST(Progress, TellsAtMostTenTimesASecond)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 12000, 12000);

    const auto lines =
        jsonLines(runTool({"convert", "--progress", "json", in, folder.path("a.png")}).out);

    ASSERT_FALSE(lines.empty());
    for (size_t i = 10; i < lines.size(); ++i) {
        EXPECT_GE(lines[i]["seconds"].toDouble() - lines[i - 10]["seconds"].toDouble(), 1.0)
            << "line " << i;
    }
}

TEST(Progress, IsSilentInAPipe)
{
    const Folder folder;
    convert({folder.writeGreymap("in.pgm", 6000, 6000), folder.path("a.hrle")});
    convert({"--progress", "auto", folder.path("in.pgm"), folder.path("a.hrle")});
    convert({"--progress", "none", folder.path("in.pgm"), folder.path("a.hrle")});
}

TEST(Progress, BarIsOnStandardError)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));

    const ToolResult result = runTool({"convert", "--progress", "bar", in, folder.path("a.hrle")});

    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.contains("in.png"));
    EXPECT_TRUE(result.err.contains("  0% "));
    EXPECT_TRUE(result.err.contains("100% "));
    EXPECT_TRUE(result.err.endsWith('\n'));
}

TEST(Progress, ClosedPipeDoesNotStopTheWork)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(67, 41), "png"));

    const ToolResult result =
        runToolAfter("exec >&-", {"convert", "--progress", "json", in, folder.path("a.hrle")});

    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(folder.names(), QStringList({"a.hrle", "in.png"}));
}
