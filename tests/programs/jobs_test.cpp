// Many pictures at once, existing files, damaged pictures, and exit codes.

#include "tool.h"
#include <vellum/vellum.h>

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <csignal>
#include <support/images.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace vellum::test;

namespace {

class Jobs : public testing::Test
{
protected:
    /// A picture that differs with \a width.
    QString picture(const QString &name, int width = 37)
    {
        return folder.write(name, encoded(photoLike(width, 23), "png"));
    }

    QStringList written(const QString &name = "out") const
    {
        return QDir(folder.path(name)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    ToolResult intoFolder(const QStringList &inputs, const QStringList &options = {}) const
    {
        return runTool(QStringList {"convert"} + inputs + options +
                       QStringList {"-o", folder.path("out")});
    }

    Folder folder;
};

/// The lines that a command prints.
QList<QByteArray> linesOf(const QByteArray &text)
{
    QList<QByteArray> lines = text.split('\n');
    lines.removeLast();
    return lines;
}

} // namespace

TEST_F(Jobs, PicturesGoIntoAFolderInTheirOwnKind)
{
    const QString a = picture("a.png", 11);
    const QString b = folder.write("b.bmp", encoded(photoLike(12, 9), "bmp"));
    const ToolResult result = intoFolder({a, b});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(result.err.startsWith("vellum: 2 done, in ")) << result.err.constData();
    ASSERT_EQ(written(), QStringList({"a.png", "b.bmp"}));
    EXPECT_TRUE(samePixels(QImage(folder.path("out/a.png")), QImage(a)));
    EXPECT_TRUE(samePixels(QImage(folder.path("out/b.bmp")), QImage(b)));
}

TEST_F(Jobs, OnePictureInAFolderIsNotSummedUp)
{
    const ToolResult result = intoFolder({picture("a.png")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(written(), QStringList("a.png"));
}

TEST_F(Jobs, AKindThatCannotBeWrittenBecomesPng)
{
    const QString in = folder.write("a.picture", encoded(photoLike(5, 4), "png"));
    EXPECT_EQ(intoFolder({in}).exitCode, 0);
    EXPECT_EQ(written(), QStringList("a.png"));
}

TEST_F(Jobs, TemplateNamesTheFiles)
{
    QStringList inputs;
    for (int i = 0; i < 11; ++i)
        inputs << picture(QStringLiteral("p%1.png").arg(i), 10 + i);
    const QStringList options {"--type", "bmp", "--name", "{n}-{name} of many.{ext}"};
    EXPECT_EQ(intoFolder(inputs, options).exitCode, 0);
    ASSERT_EQ(written().size(), 11);
    EXPECT_EQ(written().first(), "01-p0 of many.bmp");
    EXPECT_EQ(written().last(), "11-p10 of many.bmp");
    EXPECT_EQ(QImage(folder.path("out/11-p10 of many.bmp")).width(), 20);
}

TEST_F(Jobs, WrongTemplatesAndKindsAreUsageErrors)
{
    const QString in = picture("a.png");
    for (const QStringList &options :
         {QStringList {"--name", "{what}.png"}, QStringList {"--name", "sub/{name}.png"},
          QStringList {"--type", "nosuch"}, QStringList {"--jobs", "0"},
          QStringList {"--no-clobber", "--force"}, QStringList {"--in-place"}}) {
        const ToolResult result = intoFolder({in}, options);
        EXPECT_EQ(result.exitCode, 1) << options.join(' ').toStdString();
        EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
    }
    EXPECT_EQ(folder.names(), QStringList("a.png"));
    EXPECT_EQ(runTool({"convert", "--name", "x", in, folder.path("b.png")}).exitCode, 1);
    EXPECT_EQ(runTool({"convert", in, in, in}).exitCode, 1);
}

TEST_F(Jobs, TwoPicturesForOneFileAreRefusedBeforeAnythingIsWritten)
{
    const ToolResult result =
        intoFolder({picture("a.png"), folder.write("a.bmp", encoded(photoLike(5, 4), "bmp"))},
                   {"--type", "jpg"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneErrorLine(result.err, "same file")) << result.err.constData();
    EXPECT_EQ(folder.names(), QStringList({"a.bmp", "a.png"}));
}

TEST_F(Jobs, ThePictureNamedTwiceIsWrittenOnce)
{
    const QString a = picture("a.png");
    const ToolResult result = intoFolder({a, a, picture("b.png")}, {"--jobs", "2"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.startsWith("vellum: 2 done, in ")) << result.err.constData();
}

TEST_F(Jobs, OneBadPictureDoesNotStopTheOthers)
{
    const QString bad = folder.write("b.png", "no picture");
    for (const char *jobs : {"1", "2"}) {
        QDir(folder.path("out")).removeRecursively();
        const ToolResult result =
            intoFolder({picture("a.png"), bad, picture("c.png")}, {"--jobs", jobs});
        EXPECT_EQ(result.exitCode, 5);
        const QList<QByteArray> lines = linesOf(result.err);
        ASSERT_EQ(lines.size(), 2) << result.err.constData();
        EXPECT_TRUE(isOneErrorLine(lines[0] + '\n', "b.png"));
        EXPECT_TRUE(lines[1].startsWith("vellum: 2 done, 1 failed, in ")) << lines[1].constData();
        EXPECT_EQ(written(), QStringList({"a.png", "c.png"}));
    }
}

TEST_F(Jobs, WhenAllFailAlikeTheCodeIsTheirs)
{
    const ToolResult result = intoFolder({folder.write("a.png", ""), folder.path("missing.png")});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(linesOf(result.err).size(), 3) << result.err.constData();
    EXPECT_EQ(written(), QStringList());
}

TEST_F(Jobs, FiveHundredPicturesTwoAtATime)
{
    QStringList inputs;
    QStringList names;
    for (int i = 0; i < 500; ++i) {
        names << QStringLiteral("p%1.png").arg(i, 3, 10, QLatin1Char('0'));
        inputs << picture(names.last(), 1 + i % 50);
    }
    const ToolResult result = intoFolder(inputs, {"--jobs", "2", "--progress", "json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_TRUE(result.err.startsWith("vellum: 500 done, in ")) << result.err.constData();
    EXPECT_EQ(written(), names);
    for (int i = 0; i < 500; i += 71)
        EXPECT_TRUE(samePixels(QImage(folder.path("out/" + names[i])), QImage(inputs[i])));

    const auto lines = jsonLines(result.out);
    ASSERT_GE(lines.size(), 1u);
    EXPECT_EQ(lines.back()["percent"], 100);
    EXPECT_EQ(lines.back()["filesDone"], 500);
    for (size_t i = 1; i < lines.size(); ++i)
        EXPECT_GE(lines[i]["percent"].toInt(), lines[i - 1]["percent"].toInt());
}

TEST_F(Jobs, CancelLeavesWholeFilesOnly)
{
    QStringList inputs;
    for (int i = 0; i < 6; ++i)
        inputs << folder.writeGreymap(QStringLiteral("p%1.pgm").arg(i), 8000, 6000);
    RunningTool tool(QStringList {"convert"} + inputs +
                     QStringList {"--type", "png", "--jobs", "2", "--progress", "json", "-o",
                                  folder.path("out")});
    ASSERT_TRUE(tool.waitForOutput("percent"));
    tool.sendSignal(SIGINT);
    const ToolResult result = tool.finish();
    EXPECT_EQ(result.exitCode, 130);
    EXPECT_TRUE(isOneErrorLine(result.err, "cancelled")) << result.err.constData();
    const QStringList files = written();
    EXPECT_LT(files.size(), 6);
    for (const QString &name : files) {
        EXPECT_FALSE(name.startsWith('.')) << name.toStdString();
        EXPECT_FALSE(QImage(folder.path("out/" + name)).isNull()) << name.toStdString();
    }
}

TEST_F(Jobs, NamesMayHoldAnything)
{
    const QString name = QStringLiteral("ä b\n%1 {n}.png");
    EXPECT_EQ(intoFolder({picture(name)}).exitCode, 0);
    EXPECT_EQ(written(), QStringList(name));
}

TEST_F(Jobs, NoClobberKeepsWhatExists)
{
    const QString a = picture("a.png");
    ASSERT_TRUE(QDir(folder.path(".")).mkdir("out"));
    folder.write("out/a.png", "old");
    const ToolResult several = intoFolder({a, picture("b.png")}, {"--no-clobber"});
    EXPECT_EQ(several.exitCode, 0);
    EXPECT_TRUE(several.err.startsWith("vellum: 1 done, 1 skipped, as they exist already, in "))
        << several.err.constData();
    EXPECT_EQ(folder.read("out/a.png"), "old");

    const ToolResult one = runTool({"convert", "--no-clobber", a, folder.path("out/a.png")});
    EXPECT_EQ(one.exitCode, 0);
    EXPECT_TRUE(one.err.contains("exists already, skipped")) << one.err.constData();
    EXPECT_EQ(folder.read("out/a.png"), "old");
    EXPECT_EQ(runTool({"convert", a, folder.path("out/a.png")}).exitCode, 0);
    EXPECT_NE(folder.read("out/a.png"), "old");
}

TEST_F(Jobs, ForceReplacesWriteProtectedFiles)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "nothing is write-protected for root";
    const QString a = picture("a.png");
    const QString out = folder.write("out.png", "old");
    ASSERT_EQ(chmod(out.toLocal8Bit().constData(), 0444), 0);
    EXPECT_EQ(runTool({"convert", a, out}).exitCode, 3);
    EXPECT_EQ(folder.read("out.png"), "old");
    EXPECT_EQ(runTool({"convert", "--force", a, out}).exitCode, 0);
    EXPECT_NE(folder.read("out.png"), "old");
}

TEST_F(Jobs, InPlaceWritesOverThePicturesThatAreRead)
{
    const QString a = picture("a.png", 40);
    const QString b = picture("b.png", 60);
    const ToolResult refused = runTool({"scale", "--width", "20", a, a});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_TRUE(isOneErrorLine(refused.err, "--in-place")) << refused.err.constData();
    EXPECT_EQ(QImage(a).width(), 40);

    EXPECT_EQ(runTool({"scale", "--width", "20", "--in-place", a, b}).exitCode, 0);
    EXPECT_EQ(QImage(a).width(), 20);
    EXPECT_EQ(QImage(b).width(), 20);
    EXPECT_EQ(folder.names(), QStringList({"a.png", "b.png"}));
}

TEST_F(Jobs, AnInputIsFoundUnderAnyNameOfItsOwn)
{
    const QString a = picture("a.png");
    ASSERT_TRUE(QFile::link(a, folder.path("link.png")));
    EXPECT_EQ(runTool({"convert", a, folder.path("./x/../a.png")}).exitCode, 1);
    EXPECT_EQ(runTool({"convert", a, folder.path("link.png")}).exitCode, 1);
    EXPECT_EQ(runTool({"convert", a, picture("b.png"), "-o", folder.path(".")}).exitCode, 1);
}

TEST_F(Jobs, DamagedPicturesAreWrittenOnRequestOnly)
{
    const QByteArray whole = encoded(photoLike(300, 200), "png");
    const QString cut = folder.write("cut.png", whole.left(whole.size() / 2));
    const ToolResult refused = runTool({"convert", cut, folder.path("a.png")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_EQ(folder.names(), QStringList("cut.png"));

    const ToolResult kept = runTool({"convert", "--keep-going", cut, folder.path("a.png")});
    EXPECT_EQ(kept.exitCode, 5);
    EXPECT_TRUE(isOneErrorLine(kept.err, "of 200 rows were read")) << kept.err.constData();
    const QImage result(folder.path("a.png"));
    const QImage original = QImage::fromData(whole);
    ASSERT_EQ(result.size(), original.size());
    EXPECT_TRUE(samePixels(result.copy(0, 0, 300, 50), original.copy(0, 0, 300, 50)));

    const ToolResult several =
        intoFolder({cut, picture("good.png")}, {"--keep-going", "--jobs", "2"});
    EXPECT_EQ(several.exitCode, 5);
    EXPECT_TRUE(several.err.contains("1 done, 1 damaged and written in part, in "))
        << several.err.constData();
}

TEST_F(Jobs, APictureOverTheMemoryLimitHasACodeOfItsOwn)
{
    const QString large = folder.writeGreymap("a.pgm", 3000, 3000);
    const ToolResult result =
        runTool({"--memory-limit", "1M", "convert", large, folder.path("a.png")});
    EXPECT_EQ(result.exitCode, 4);
    EXPECT_TRUE(isOneErrorLine(result.err, "--memory-limit")) << result.err.constData();
    EXPECT_EQ(folder.names(), QStringList("a.pgm"));
}

TEST_F(Jobs, LargePicturesAreReducedAndCutWhileTheyAreRead)
{
    const QString large = folder.writeGreymap("a.pgm", 20000, 15000);
    const QStringList limit {"--memory-limit", "64M"};
    EXPECT_EQ(runTool(limit + QStringList {"scale", "--width", "200", large, folder.path("a.png")})
                  .exitCode,
              0);
    EXPECT_EQ(QImage(folder.path("a.png")).size(), QSize(200, 150));
    EXPECT_EQ(
        runTool(limit +
                QStringList {"crop", large, folder.path("b.png"), "100", "9000", "300", "200"})
            .exitCode,
        0);
    EXPECT_EQ(QImage(folder.path("b.png")).size(), QSize(300, 200));
}

TEST_F(Jobs, ConvertDoesTheStepsInTheirOrder)
{
    for (const QImage::Format format :
         {QImage::Format_RGB32, QImage::Format_ARGB32, QImage::Format_RGBA64,
          QImage::Format_Grayscale8, QImage::Format_Grayscale16}) {
        SCOPED_TRACE(int(format));
        const QString in =
            folder.write("in.png", encoded(photoLike(90, 70).convertToFormat(format), "png"));
        const auto step = [&](const QStringList &arguments) {
            EXPECT_EQ(runTool(arguments).exitCode, 0) << arguments.join(' ').toStdString();
        };
        step({"crop", in, folder.path("1.png"), "-5", "7", "60", "50"});
        step({"rotate", "--angle", "30", "--fill", "red", folder.path("1.png"),
              folder.path("2.png")});
        step({"scale", "--width", "41", folder.path("2.png"), folder.path("3.png")});
        // The options stand in another order.
        step({"convert", "--width", "41", "--background", "red", "--rotate", "30", "--region",
              "-5,7,60,50", in, folder.path("all.png")});

        const QImage all(folder.path("all.png"));
        EXPECT_TRUE(samePixels(all, QImage(folder.path("3.png"))));
        EXPECT_EQ(all.depth(), QImage(in).depth()); // 16 bits stay
    }
}

TEST_F(Jobs, OnePictureMayBePastedOntoMany)
{
    const QString mark = folder.write("mark.png", encoded(photoLike(5, 4), "png"));
    const QString a = picture("a.png", 40);
    const QString b = picture("b.png", 60);
    ASSERT_EQ(runTool({"paste", "--at", "3,2", "-o", folder.path("out"), a, b, mark}).exitCode, 0);
    ASSERT_EQ(runTool({"paste", a, mark, folder.path("one.png"), "3", "2"}).exitCode, 0);
    EXPECT_EQ(written(), QStringList({"a.png", "b.png"}));
    EXPECT_EQ(folder.read("out/a.png"), folder.read("one.png"));
    EXPECT_TRUE(samePixels(QImage(folder.path("out/b.png")).copy(3, 2, 5, 4), QImage(mark)));

    ASSERT_EQ(runTool({"paste", "--in-place", a, mark, "3", "2"}).exitCode, 0);
    EXPECT_EQ(folder.read("a.png"), folder.read("one.png"));
}

TEST_F(Jobs, LargePicturesStreamAndGiveTheSameFile)
{
    const QString large = folder.writeGreymap("a.pgm", 18000, 16000);
    for (const QStringList &how :
         {QStringList {}, QStringList {"--region", "3000,2000,900,700"},
          QStringList {"--format", "rgb888", "--region", "3000,2000,900,700"},
          QStringList {"--to-profile", "srgb", "--region", "1,2,500,400"}}) {
        SCOPED_TRACE(how.join(' ').toStdString());
        const auto convert = [&](const QStringList &storage, const QString &name) {
            return runTool(QStringList {"convert", "-v"} + how + storage +
                           QStringList {large, folder.path(name)});
        };
        const ToolResult streamed = convert({}, "streamed.png");
        ASSERT_EQ(streamed.exitCode, 0) << streamed.err.constData();
        EXPECT_TRUE(streamed.err.contains("written while it was read")) << streamed.err.constData();
        const ToolResult held = convert({"--storage", "big"}, "held.png");
        ASSERT_EQ(held.exitCode, 0) << held.err.constData();
        EXPECT_FALSE(held.err.contains("written while it was read"));
        EXPECT_TRUE(folder.read("streamed.png") == folder.read("held.png"));
    }
}

TEST_F(Jobs, StreamedPicturesNeedNoMemoryForTheirPixels)
{
    const QString large = folder.writeGreymap("a.pgm", 18000, 16000);
    const ToolResult result =
        runTool({"--memory-limit", "64M", "convert", large, folder.path("a.png")});
    EXPECT_EQ(result.exitCode, 0) << result.err.constData();
    const ToolResult turned =
        runTool({"--memory-limit", "64M", "rotate", "--angle", "90", large, folder.path("b.png")});
    EXPECT_EQ(turned.exitCode, 4);
}

TEST_F(Jobs, DamagedLargePicturesAreWrittenOnRequestOnly)
{
    const QString large = folder.writeGreymap("a.pgm", 18000, 16000);
    ASSERT_TRUE(QFile::resize(large, 18000 * 15000));
    const ToolResult refused = runTool({"convert", large, folder.path("a.png")});
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_TRUE(isOneErrorLine(refused.err)) << refused.err.constData();
    EXPECT_EQ(folder.names(), QStringList("a.pgm"));
    const ToolResult kept = runTool({"convert", "--keep-going", large, folder.path("a.png")});
    EXPECT_EQ(kept.exitCode, 5);
    EXPECT_TRUE(isOneErrorLine(kept.err, "14999 of 16000 rows were read")) << kept.err.constData();
    EXPECT_EQ(folder.names(), QStringList({"a.pgm", "a.png"}));
}
