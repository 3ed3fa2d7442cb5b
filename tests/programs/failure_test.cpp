// How the vellum program fails: exit codes, one line that says why, nothing left behind.

#include "tool.h"
#include <vellum/vellum.h>

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <tuple>
#include <unistd.h>

using namespace vellum::test;

namespace {

/// A folder with a picture to read and a file that must survive.
class Failing : public testing::Test
{
protected:
    Failing()
    {
        folder.write("in.png", encoded(photoLike(301, 47), "png"));
        folder.write("out.hrle", "old");
        folder.write("out.png", "old");
        folder.write("out.bmp", "old");
    }

    /// Expects that converting to each kind of file fails, and that everything is as before.
    void expectFailure(const QString &in, int exitCode, const QString &word,
                       const QString &setUp = QStringLiteral(":"))
    {
        const QStringList before = folder.names();
        for (const char *kind : {"hrle", "png", "bmp"}) {
            for (const char *storage : {"plain", "big"}) {
                SCOPED_TRACE(std::string(kind) + " " + storage);
                const QString out = QStringLiteral("out.") + QLatin1String(kind);
                const ToolResult result =
                    runToolAfter(setUp, {"convert", "--storage", storage, in, folder.path(out)});

                EXPECT_EQ(result.exitCode, exitCode);
                EXPECT_EQ(result.out, "");
                EXPECT_TRUE(isOneErrorLine(result.err, word));
                EXPECT_EQ(folder.read(out), "old");
                EXPECT_EQ(folder.names(), before);
            }
        }
    }

    void expectRefused(const QString &out, int exitCode, const QString &word = QString())
    {
        const QStringList before = folder.names();
        const ToolResult result = runTool({"convert", folder.path("in.png"), out});
        EXPECT_EQ(result.exitCode, exitCode);
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(isOneErrorLine(result.err, word));
        EXPECT_EQ(folder.names(), before);
    }

    Folder folder;
};

QImage whiteRow(int width)
{
    QImage row(width, 1, QImage::Format_Mono);
    row.setColorTable({qRgb(0, 0, 0), qRgb(255, 255, 255)});
    row.fill(1);
    return row;
}

using Input = Failing;
using Output = Failing;

} // namespace

class Usage : public testing::TestWithParam<QStringList>
{
};

TEST_P(Usage, WrongOneExitsWithOneAndOneLine)
{
    const ToolResult result = runTool(GetParam());

    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneErrorLine(result.err, "--help"));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, Usage,
    testing::Values(QStringList {}, QStringList {"paint"}, QStringList {"--paint"},
                    QStringList {"info"}, QStringList {"convert"}, QStringList {"convert", "a.png"},
                    QStringList {"convert", "a.png", "b.png", "c.png"},
                    QStringList {"convert", "--storage", "2", "a.png", "b.png"},
                    QStringList {"convert", "--progress", "no", "a", "b"},
                    QStringList {"info", "--nosuch", "a.png"}));

TEST_F(Input, ThatIsMissing) { expectFailure(folder.path("missing.png"), 2, "missing.png: "); }

TEST_F(Input, ThatIsAFolder)
{
    QDir(folder.path(".")).mkdir("sub.png");
    expectFailure(folder.path("sub.png"), 2, "sub.png: ");
}

TEST_F(Input, ThatIsEmpty) { expectFailure(folder.write("a.png", ""), 2, "a.png: "); }

TEST_F(Input, ThatIsNoPicture)
{
    expectFailure(folder.write("a.png", "Once upon a time\nthere was\n"), 2, "a.png: ");
}

TEST_F(Input, ThatIsNoHrle)
{
    expectFailure(folder.write("a.hrle", folder.read("in.png")), 2, "a.hrle: ");
}

TEST_F(Input, MissingHrle) { expectFailure(folder.path("missing.hrle"), 2, "missing.hrle: "); }

class CutShort : public Failing, public testing::WithParamInterface<const char *>
{
};

TEST_P(CutShort, IsAnErrorAtAnyLength)
{
    const QString name = QStringLiteral("cut.") + QLatin1String(GetParam());
    const QByteArray whole = encoded(photoLike(301, 47), GetParam());
    for (const int length : {10, int(whole.size() / 3), int(whole.size() * 9 / 10)}) {
        SCOPED_TRACE(length);
        expectFailure(folder.write(name, whole.left(length)), 2, name + ": ");
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, CutShort, testing::Values("png", "jpg", "bmp", "pgm"));

TEST_F(Input, CutShortHrleWithRawRows)
{
    const Vellum noise(photoLike(301, 47, QImage::Format_Grayscale8));
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("whole.hrle"), noise));
    const QByteArray whole = folder.read("whole.hrle");
    ASSERT_EQ(whole.size(), 54 + 304 * 47);

    expectFailure(folder.write("a.hrle", whole.left(whole.size() / 2)), 2, "a.hrle: ");
}

TEST_F(Input, CutShortHrleWithRuns)
{
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("whole.hrle"), Vellum(maskLike(1001, 203))));
    const QByteArray whole = folder.read("whole.hrle");
    ASSERT_LT(whole.size(), 1001 * 203 / 10);

    expectFailure(folder.write("a.hrle", whole.chopped(8)), 2, "a.hrle: ");
}

TEST_F(Input, FourteenByteHrleOfAnotherDepth)
{
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("a.hrle"), Vellum(photoLike(67, 41))));
    ASSERT_EQ(folder.read("a.hrle").size(), 14);

    expectFailure(folder.path("a.hrle"), 2, "a.hrle: ");
}

TEST_F(Input, LineBreakInANameDoesNotBreakTheLine)
{
    expectFailure(folder.path("two\nlines.png"), 2, "two lines.png: ");
}

TEST_F(Output, InAFolderThatDoesNotExist)
{
    expectRefused(folder.path("missing/out.hrle"), 3, "missing/out.hrle: ");
    expectRefused(folder.path("missing/out.png"), 3, "missing/out.png: ");
}

TEST_F(Output, BelowARegularFile) { expectRefused(folder.path("in.png/out.hrle"), 3); }

TEST_F(Output, InAFolderWhereNobodyMayWrite)
{
    expectRefused("/proc/out.hrle", 3, "/proc/out.hrle");
}

TEST_F(Output, ThatIsAFolder)
{
    QDir(folder.path(".")).mkdir("sub.hrle");
    QDir(folder.path(".")).mkdir("sub");
    expectRefused(folder.path("sub.hrle"), 3, "is a folder");
    expectRefused(folder.path("sub"), 3, "is a folder");
    expectRefused(folder.path("sub/"), 3, "is a folder");
}

TEST_F(Output, ThatIsWriteProtected)
{
    if (geteuid() == 0)
        GTEST_SKIP() << "nothing is protected from root";
    QFile::setPermissions(folder.path("out.hrle"), QFile::ReadOwner);

    expectRefused(folder.path("out.hrle"), 3, "write-protected");

    EXPECT_EQ(folder.read("out.hrle"), "old");
}

TEST_F(Output, ThatIsADevice)
{
    const QByteArray pipe = folder.path("pipe.hrle").toLocal8Bit();
    ASSERT_EQ(mkfifo(pipe.constData(), 0600), 0);
    expectRefused(folder.path("pipe.hrle"), 3, "regular file");
}

TEST_F(Output, OfAnUnknownKind)
{
    expectRefused(folder.path("out.nosuchkind"), 3, ".hrle");
    expectRefused(folder.path("out"), 3, ".hrle");
    expectRefused(folder.path("OUT.HRLE"), 3, ".hrle"); // the ending is looked at as it stands
    expectRefused("", 3);
}

TEST_F(Output, ThatDoesNotFitIntoWhatIsLeft)
{
    // A limit on the size of files acts as a full disk does: a write fails half-way.
    // (Qt's PNG writer does not free its table of rows then.)
    folder.write("noise.png", encoded(photoLike(600, 400), "png"));
    expectFailure(folder.path("noise.png"), 3, ": File too large",
                  "export ASAN_OPTIONS=${ASAN_OPTIONS:-}:detect_leaks=0; ulimit -f 32");
}

TEST_F(Output, ThatDoesNotFitAtItsVeryEnd)
{
    // Less than one buffer of the file: the failure shows only when the file is completed.
    folder.write("noise.pgm", encoded(photoLike(60, 60), "pgm"));
    expectFailure(folder.path("noise.pgm"), 3, ": File too large", "ulimit -f 1");
}

TEST_F(Output, PictureTooLargeForHrleIsRefusedBeforeItIsRead)
{
    // One row more than the limit. There are no pixels in the file: whoever read them would fail.
    const QString in = folder.writePngHeader("large.png", 32768, 32769);
    const QStringList before = folder.names();

    const ToolResult result = runTool({"convert", in, folder.path("out.hrle")});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err, "1073741824"));
    EXPECT_EQ(folder.read("out.hrle"), "old");
    EXPECT_EQ(folder.names(), before);
}

TEST_F(Output, LargestPictureForHrleIsRead)
{
    const QString in = folder.writePngHeader("large.png", 32768, 32768);

    const ToolResult result = runTool({"convert", in, folder.path("out.hrle")});

    EXPECT_EQ(result.exitCode, 2) << "the file has no pixels";
}

TEST_F(Output, RowTooWideForHrleIsRefused)
{
    const QString in = folder.write("in.bmp", encoded(whiteRow(16777213), "bmp"));

    const ToolResult result = runTool({"convert", in, folder.path("out.hrle")});

    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err, "16777213"));
    EXPECT_EQ(folder.read("out.hrle"), "old");
}

TEST_F(Output, WidestRowForHrleIsWritten)
{
    const QString in = folder.write("in.bmp", encoded(whiteRow(16777212), "bmp"));

    ASSERT_EQ(runTool({"convert", in, folder.path("wide.hrle")}).exitCode, 0);

    EXPECT_EQ(vellum::checkHrle(folder.path("wide.hrle")).status, vellum::HrleCheck::Complete);
}
