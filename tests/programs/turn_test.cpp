// vellum rotate and vellum mirror.

#include "tool.h"
#include <vellum/vellum.h>

#include <QColor>
#include <QTransform>

#include <gtest/gtest.h>

#include <string>
#include <support/images.h>
#include <tuple>

using namespace vellum::test;

namespace {

/// Puts a picture of a format, as a PNG file holds it, through the program.
class TurningFormat : public testing::TestWithParam<std::tuple<QImage::Format, const char *>>
{
protected:
    TurningFormat()
    {
        in = folder.write("in.png",
                          encoded(photoLike(61, 43, std::get<QImage::Format>(GetParam())), "png"));
        picture = QImage(in);
    }

    /// The picture that a command makes of it.
    QImage after(const QString &command, const QStringList &options)
    {
        EXPECT_TRUE(
            succeeds(QStringList {command, "--storage", std::get<const char *>(GetParam())} +
                     options + QStringList {in, folder.path("out.png")}));
        return QImage(folder.path("out.png"));
    }

    Folder folder;
    QString in;
    QImage picture;
};

} // namespace

using Rotate = TurningFormat;

TEST_P(Rotate, RightAnglesAreExact)
{
    ASSERT_EQ(picture.format(), std::get<QImage::Format>(GetParam()));
    for (const int angle : {90, 180, -90, 0, 450}) {
        SCOPED_TRACE(angle);
        const QImage result = after("rotate", {"--angle", QString::number(angle)});
        EXPECT_TRUE(samePixels(result, picture.transformed(QTransform().rotate(angle % 360))));
    }
}

TEST_P(Rotate, OtherAnglesAreSampled)
{
    bool transparent = false;
    const uint fill = getFillColorForRotate(picture, transparent);
    for (const char *angle : {"30.5", "-7"}) {
        SCOPED_TRACE(angle);
        const QImage result = after("rotate", {"--angle", angle});
        EXPECT_GT(result.width(), picture.width());
        EXPECT_TRUE(samePixels(
            result, asPng(vellum::freeRotated(picture, QByteArray(angle).toDouble(), fill))));
    }
}

using Mirror = TurningFormat;

TEST_P(Mirror, ExchangesTheSides)
{
    EXPECT_TRUE(samePixels(after("mirror", {"--horizontal"}), picture.mirrored(true, false)));
    EXPECT_TRUE(samePixels(after("mirror", {"--vertical"}), picture.mirrored(false, true)));
    EXPECT_TRUE(
        samePixels(after("mirror", {"--vertical", "--horizontal"}), picture.mirrored(true, true)));
}

namespace {

const auto kFormats = testing::Combine(
    testing::Values(QImage::Format_Mono, QImage::Format_Indexed8, QImage::Format_RGB32,
                    QImage::Format_ARGB32, QImage::Format_Grayscale8, QImage::Format_Grayscale16,
                    QImage::Format_RGBA64),
    testing::Values("auto", "plain", "big"));

std::string formatCase(const testing::TestParamInfo<TurningFormat::ParamType> &info)
{
    return "Format" + std::to_string(std::get<0>(info.param)) + std::get<1>(info.param);
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Formats, Rotate, kFormats, formatCase);
INSTANTIATE_TEST_SUITE_P(Formats, Mirror, kFormats, formatCase);

TEST(Turn, StorageDoesNotChangeTheFile)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(301, 47), "png"));
    const QList<QStringList> commands = {{"rotate", "--angle", "90"},
                                         {"rotate", "--angle", "12.25", "--fill", "red"},
                                         {"mirror", "--horizontal"}};
    for (const QStringList &command : commands) {
        SCOPED_TRACE(command.join(' ').toStdString());
        for (const char *kind : {".png", ".bmp", ".hrle"}) {
            for (const char *storage : {"plain", "big"}) {
                ASSERT_TRUE(succeeds(
                    command + QStringList {"--storage", storage, in, folder.path(storage) + kind}));
            }
            EXPECT_EQ(folder.read(QString("plain") + kind), folder.read(QString("big") + kind));
        }
    }
}

TEST(Turn, FillIsTheColourAskedFor)
{
    const Folder folder;
    const QString in = folder.write("in.png", encoded(photoLike(61, 43), "png"));
    const QString alpha =
        folder.write("alpha.png", encoded(photoLike(61, 43, QImage::Format_ARGB32), "png"));
    const QString out = folder.path("out.png");
    const auto corner = [&](const QString &file, const char *fill) {
        EXPECT_TRUE(succeeds({"rotate", "--angle", "45", "--fill", fill, file, out}));
        return QImage(out).pixelColor(0, 0);
    };

    EXPECT_EQ(corner(in, "red"), QColor(Qt::red));
    EXPECT_EQ(corner(in, "#1280ff"), QColor(0x12, 0x80, 0xff));
    EXPECT_EQ(corner(alpha, "#401280ff"), QColor(0x12, 0x80, 0xff, 0x40));
    EXPECT_EQ(corner(alpha, "transparent").alpha(), 0);
}

TEST(Turn, SixteenBitsOfGreyStaySixteen)
{
    const Folder folder;
    QImage ramp(257, 255, QImage::Format_Grayscale16);
    for (int y = 0; y < ramp.height(); ++y) {
        for (int x = 0; x < ramp.width(); ++x)
            reinterpret_cast<quint16 *>(ramp.scanLine(y))[x] = quint16(y * 257 + x);
    }
    const QString in = folder.write("in.png", encoded(ramp, "png"));

    ASSERT_TRUE(succeeds({"rotate", "--angle", "90", in, folder.path("out.png")}));

    const QImage out(folder.path("out.png"));
    ASSERT_EQ(out.format(), QImage::Format_Grayscale16);
    ASSERT_EQ(out.size(), QSize(255, 257));
    for (int y = 0; y < ramp.height(); ++y) {
        for (int x = 0; x < ramp.width(); ++x) {
            ASSERT_EQ(reinterpret_cast<const quint16 *>(out.constScanLine(x))[254 - y],
                      quint16(y * 257 + x));
        }
    }
}

TEST(Turn, HrleGoesInAndOut)
{
    const Folder folder;
    const QImage mask = maskLike(301, 203);
    ASSERT_TRUE(HrleHandler().writeFile(folder.path("in.hrle"), Vellum(mask)));

    for (const char *storage : {"plain", "big"}) {
        ASSERT_TRUE(succeeds({"rotate", "--angle", "90", "--storage", storage,
                              folder.path("in.hrle"), folder.path("turned.hrle")}));
        ASSERT_TRUE(succeeds({"mirror", "--vertical", "--storage", storage,
                              folder.path("turned.hrle"), folder.path("out.png")}));
        EXPECT_TRUE(samePixels(QImage(folder.path("out.png")),
                               mask.transformed(QTransform().rotate(90)).mirrored(false, true)));
    }
}

TEST(Turn, ResolutionTurnsWithThePicture)
{
    const Folder folder;
    QImage image = photoLike(61, 43);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(6000);
    const QString in = folder.write("in.png", encoded(image, "png"));

    ASSERT_TRUE(succeeds({"rotate", "--angle", "90", in, folder.path("out.png")}));

    EXPECT_EQ(QImage(folder.path("out.png")).dotsPerMeterX(), 6000);
    EXPECT_EQ(QImage(folder.path("out.png")).dotsPerMeterY(), 5000);
}

TEST(Turn, ProgressGoesFromNothingToAll)
{
    const Folder folder;
    const QString in = folder.writeGreymap("in.pgm", 5000, 4000);
    const QList<QStringList> commands = {{"rotate", "--angle", "20"}, {"mirror", "--vertical"}};
    for (const QStringList &command : commands) {
        SCOPED_TRACE(command.first().toStdString());
        const ToolResult result = runTool(
            command +
            QStringList {"--progress", "json", "--storage", "big", in, folder.path("a.bmp")});

        ASSERT_EQ(result.exitCode, 0);
        const auto lines = jsonLines(result.out);
        ASSERT_GE(lines.size(), 5u);
        EXPECT_EQ(lines.front()["percent"], 0);
        EXPECT_EQ(lines.back()["percent"], 100);
        bool named = false;
        for (size_t i = 1; i < lines.size(); ++i) {
            EXPECT_GE(lines[i]["percent"].toInt(), lines[i - 1]["percent"].toInt());
            named = named || lines[i]["stage"] == command.first();
        }
        EXPECT_TRUE(named);
    }
}
