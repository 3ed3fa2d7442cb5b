// vellum scale.

#include "tool.h"
#include <vellum/vellum.h>

#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <csignal>
#include <support/images.h>

using namespace vellum::test;

namespace {

class Scale : public testing::Test
{
protected:
    void SetUp() override
    {
        m_photo = photoLike(301, 201);
        m_in = m_folder.write("in.png", encoded(m_photo, "png"));
        m_out = m_folder.path("out.png");
    }

    /// What the program writes; null when it does not end well.
    QImage scaled(const QStringList &arguments)
    {
        const ToolResult result = runTool(QStringList {"scale", m_in, m_out} + arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err.constData();
        EXPECT_EQ(result.err, "");
        return QImage(m_out);
    }

    Vellum source() const { return QImage(m_in); }

    Vellum averaged(const QSize &size, const QRect &part = QRect()) const
    {
        return vellum::smoothScaled(source(), size, part);
    }

    void expectUsageError(const QStringList &arguments, const QString &word)
    {
        const ToolResult result = runTool(QStringList {"scale", m_in, m_out} + arguments);
        EXPECT_EQ(result.exitCode, 1) << arguments.join(' ').toStdString();
        EXPECT_TRUE(isOneErrorLine(result.err, word)) << result.err.constData();
        EXPECT_EQ(m_folder.names(), QStringList("in.png"));
    }

    Folder m_folder;
    QImage m_photo;
    QString m_in;
    QString m_out;
};

TEST_F(Scale, AveragesToASizeKeepingTheProportions)
{
    EXPECT_TRUE(samePixels(scaled({"--size", "100x100"}), averaged(QSize(100, 66))));
    EXPECT_TRUE(samePixels(scaled({"--size", "100x100", "--fit"}), averaged(QSize(100, 66))));
}

TEST_F(Scale, StretchesOnRequest)
{
    EXPECT_TRUE(samePixels(scaled({"--size", "100x300", "--stretch"}), averaged(QSize(100, 300))));
}

TEST_F(Scale, FillsAndCutsOffEquallyOnBothSides)
{
    EXPECT_TRUE(samePixels(scaled({"--size", "100x100", "--fill"}),
                           averaged(QSize(149, 100), QRect(24, 0, 100, 100))));
}

TEST_F(Scale, OneSideOrAPercentageGivesTheOther)
{
    EXPECT_TRUE(samePixels(scaled({"--width", "150"}), averaged(QSize(150, 100))));
    EXPECT_TRUE(samePixels(scaled({"--height", "402"}), averaged(QSize(602, 402))));
    EXPECT_TRUE(samePixels(scaled({"--percent", "50"}), averaged(QSize(151, 101))));
    EXPECT_EQ(scaled({"--percent", "0.1"}).size(), QSize(1, 1));
}

TEST_F(Scale, CropsInPixelsOfTheScaledPicture)
{
    EXPECT_TRUE(samePixels(scaled({"--width", "602", "--crop", "500,300,50,70"}),
                           averaged(QSize(602, 402), QRect(500, 300, 50, 70))));
    EXPECT_TRUE(samePixels(scaled({"--width", "602", "--crop", "600,400,50,70"}),
                           averaged(QSize(602, 402), QRect(600, 400, 2, 2))));
    EXPECT_TRUE(samePixels(scaled({"--size", "100x100", "--fill", "--crop", "10,20,200,30"}),
                           averaged(QSize(149, 100), QRect(34, 20, 90, 30))));
}

TEST_F(Scale, FastPicksPixelsAndKeepsPalettes)
{
    EXPECT_TRUE(samePixels(scaled({"--size", "2000x900", "--stretch", "--fast"}),
                           source().scaled(2000, 900)));

    const QImage indexed = m_photo.convertToFormat(QImage::Format_Indexed8);
    m_in = m_folder.write("indexed.png", encoded(indexed, "png"));
    const QImage result = scaled({"--size", "90x80", "--stretch", "--fast"});
    EXPECT_EQ(result.format(), QImage::Format_Indexed8);
    EXPECT_TRUE(samePixels(result, source().scaled(90, 80)));
}

// These files are read with the first pixel in the lowest bit.
TEST_F(Scale, FastKeepsTheOrderOfOneBitPixels)
{
    m_in = m_folder.write("mask.xbm", encoded(maskLike(301, 201), "xbm"));
    ASSERT_EQ(QImage(m_in).format(), QImage::Format_MonoLSB);
    const QImage result = scaled({"--size", "602x402", "--fast"});
    const QImage mask(m_in);
    for (int y = 0; y < 402; ++y) {
        for (int x = 0; x < 602; ++x)
            ASSERT_EQ(result.pixel(x, y), mask.pixel(x / 2, y / 2)) << x << ' ' << y;
    }
}

TEST_F(Scale, StorageDoesNotChangeTheFile)
{
    for (const QStringList &how : {QStringList(), QStringList("--fast")}) {
        scaled(QStringList {"--width", "77", "--storage", "plain"} + how);
        const QByteArray plain = m_folder.read("out.png");
        scaled(QStringList {"--width", "77", "--storage", "big"} + how);
        EXPECT_EQ(m_folder.read("out.png"), plain);
    }
}

TEST_F(Scale, WritesGreyRuns)
{
    m_out = m_folder.path("out.hrle");
    scaled({"--width", "77"});
    Vellum result;
    ASSERT_TRUE(HrleHandler().readFile(result, m_out));
    EXPECT_TRUE(
        samePixels(result, averaged(QSize(77, 51)).convertToFormat(QImage::Format_Grayscale8)));
}

TEST_F(Scale, KeepsResolutionAndText)
{
    m_photo.setDotsPerMeterX(5000);
    m_photo.setText("Title", "shades");
    m_in = m_folder.write("in.png", encoded(m_photo, "png"));
    for (const QStringList &how : {QStringList(), QStringList("--fast")}) {
        const QImage result = scaled(QStringList {"--width", "77"} + how);
        EXPECT_EQ(result.dotsPerMeterX(), 5000);
        EXPECT_EQ(result.text("Title"), "shades");
    }
}

TEST_F(Scale, ShowsItsStages)
{
    const ToolResult result =
        runTool({"scale", "--progress", "json", "--width", "77", m_in, m_out});
    QStringList stages;
    for (const QJsonObject &line : jsonLines(result.out))
        stages << line["stage"].toString();
    stages.removeDuplicates();
    EXPECT_EQ(stages, QStringList({"read", "scale", "write", "done"}));
}

TEST_F(Scale, WrongSizesAndAreasAreUsageErrors)
{
    expectUsageError({}, "--percent");
    expectUsageError({"--size", "100"}, "640x480");
    expectUsageError({"--size", "0x5"}, "640x480");
    expectUsageError({"--size", "99999999999x5"}, "640x480");
    expectUsageError({"--width", "0"}, "--width");
    expectUsageError({"--percent", "-5"}, "--percent");
    expectUsageError({"--size", "10000001x5", "--stretch"}, "10000000");
    expectUsageError({"--height", "9000000"}, "10000000");
    expectUsageError({"--width", "5", "--height", "5"}, "2 were given");
    expectUsageError({"--width", "5", "--fill"}, "--size");
    expectUsageError({"--size", "5x5", "--fill", "--stretch"}, "at most 1");
    expectUsageError({"--width", "50", "--crop", "1,2,3"}, "10,20,300,200");
    expectUsageError({"--width", "50", "--crop", "50,0,3,3"}, "--crop");
}

TEST_F(Scale, TooLargePicturesAreRefusedWithoutAFile)
{
    const ToolResult result =
        runTool({"scale", "--size", "9000000x9000000", "--stretch", m_in, m_out});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_TRUE(isOneErrorLine(result.err, "memory")) << result.err.constData();
    EXPECT_EQ(m_folder.names(), QStringList("in.png"));
}

TEST_F(Scale, CancelEndsItSoonAndLeavesNothing)
{
    for (const QStringList &how : {QStringList(), QStringList("--fast")}) {
        RunningTool tool(QStringList {"scale", "--progress", "json", "--size", "40000x20000",
                                      "--stretch", "--storage", "big", m_in, m_out} +
                         how);
        ASSERT_TRUE(tool.waitForOutput("scale"));
        QElapsedTimer clock;
        clock.start();
        tool.sendSignal(SIGINT);
        const ToolResult result = tool.finish();
        EXPECT_LT(clock.elapsed(), 1000); // 200 ms on an idle machine
        EXPECT_EQ(result.exitCode, 130);
        EXPECT_EQ(m_folder.names(), QStringList("in.png"));
    }
}

} // namespace
