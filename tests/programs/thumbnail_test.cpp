// vellum thumbnail.

#include "tool.h"
#include <vellum/vellum.h>

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <support/images.h>

using namespace vellum::test;

namespace {

TEST(Thumbnail, FitsEveryPictureIntoTheSize)
{
    const Folder folder;
    const QString wide = folder.write("wide.jpg", encoded(photoLike(400, 300), "jpg"));
    const QString tall =
        folder.write("tall.png", encoded(photoLike(33, 500, QImage::Format_ARGB32), "png"));
    const QString out = folder.path("small/ones");

    const ToolResult result = runTool({"thumbnail", wide, tall, "-s", "64", "-o", out});

    ASSERT_EQ(result.exitCode, 0) << result.err.constData();
    EXPECT_EQ(QDir(out).entryList(QDir::Files), QStringList({"tall.png", "wide.png"}));
    EXPECT_TRUE(
        samePixels(QImage(out + "/wide.png"), vellum::smoothScaled(QImage(wide), QSize(64, 48))));
    EXPECT_TRUE(
        samePixels(QImage(out + "/tall.png"), vellum::smoothScaled(QImage(tall), QSize(4, 64))));
}

TEST(Thumbnail, FastPicksPixels)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(400, 300), "png"));
    ASSERT_EQ(runTool({"thumbnail", "--fast", in, "-s", "64", "-o", folder.path("t")}).exitCode, 0);
    EXPECT_TRUE(samePixels(QImage(folder.path("t/a.png")), Vellum(QImage(in)).scaled(64, 48)));
}

TEST(Thumbnail, SmallPicturesKeepTheirSize)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(40, 64), "png"));
    ASSERT_EQ(runTool({"thumbnail", in, "-s", "64", "-o", folder.path("t")}).exitCode, 0);
    EXPECT_TRUE(samePixels(QImage(folder.path("t/a.png")), QImage(in)));
}

TEST(Thumbnail, StorageDoesNotChangeTheFile)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(400, 300), "png"));
    for (const char *storage : {"plain", "big"}) {
        ASSERT_EQ(
            runTool({"thumbnail", "--storage", storage, in, "-s", "64", "-o", folder.path(storage)})
                .exitCode,
            0);
    }
    EXPECT_EQ(folder.read("plain/a.png"), folder.read("big/a.png"));
}

TEST(Thumbnail, PicturesOfTheSameNameAreRefusedBeforeAnythingIsWritten)
{
    const Folder folder;
    const QString png = folder.write("a.png", encoded(photoLike(40, 64), "png"));
    const QString jpg = folder.write("a.jpg", encoded(photoLike(40, 64), "jpg"));
    const ToolResult result = runTool({"thumbnail", png, jpg, "-s", "9", "-o", folder.path("t")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneErrorLine(result.err, "the same file")) << result.err.constData();
    EXPECT_EQ(folder.names(), QStringList({"a.jpg", "a.png"}));
}

TEST(Thumbnail, PicturesAreNotReplacedByTheirThumbnails)
{
    const Folder folder;
    const QString in = folder.write("a.png", encoded(photoLike(40, 64), "png"));
    const QByteArray before = folder.read("a.png");
    const ToolResult result = runTool({"thumbnail", in, "-s", "9", "-o", folder.path(".")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_TRUE(isOneErrorLine(result.err, "replaced")) << result.err.constData();
    EXPECT_EQ(folder.read("a.png"), before);
}

TEST(Thumbnail, GoesOnAfterAPictureThatCannotBeRead)
{
    const Folder folder;
    const QString good = folder.write("a.png", encoded(photoLike(40, 64), "png"));
    const QString bad = folder.write("b.png", "no picture");
    const ToolResult result = runTool({"thumbnail", bad, good, "-s", "9", "-o", folder.path("t")});
    EXPECT_EQ(result.exitCode, 5);
    const QList<QByteArray> lines = result.err.split('\n');
    ASSERT_EQ(lines.size(), 3) << result.err.constData();
    EXPECT_TRUE(isOneErrorLine(lines[0] + '\n', "b.png")) << lines[0].constData();
    EXPECT_TRUE(lines[1].startsWith("vellum: 1 done, 1 failed, in ")) << lines[1].constData();
    EXPECT_EQ(QDir(folder.path("t")).entryList(QDir::Files), QStringList("a.png"));
}

TEST(Thumbnail, NeedsPicturesSizeAndFolder)
{
    for (const QStringList &arguments :
         {QStringList {"-s", "9", "-o", "t"}, QStringList {"a.png", "-o", "t"},
          QStringList {"a.png", "-s", "9"}, QStringList {"a.png", "-s", "0", "-o", "t"}}) {
        const ToolResult result = runTool(QStringList("thumbnail") + arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(isOneErrorLine(result.err)) << result.err.constData();
    }
}

} // namespace
