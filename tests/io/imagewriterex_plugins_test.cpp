// Which plugin writes for QImageWriterEx, how it is asked, and the lists of what plugins know.

#include <QBuffer>

#include <gmock/gmock.h>

#include <algorithm>
#include <support/images.h>
#include <support/savedimages.h>

using namespace vellum::test;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

class WriterPlugins : public WithRecordingPlugins
{
protected:
    Vellum image = makeNoise(7, 5, QImage::Format_ARGB32, Storage::Plain);

    /// The plugins' dealings until \a writer has written: "first? png" for a question about
    /// capabilities, "first+ png" for a handler made, "first! png" for the writing, "first-" for a
    /// handler deleted.
    QStringList road(QImageWriterEx &writer)
    {
        recorder().calls.clear();
        writer.write(image);
        QStringList steps;
        for (const Call &call : recorder().calls) {
            const QString plugin = QString::fromLatin1(call.plugin);
            const QString format = QLatin1Char(' ') + QString::fromLatin1(call.format);
            if (call.asked == Asked::Capabilities)
                steps.append(plugin + QLatin1Char('?') + format);
            else if (call.asked == Asked::Create)
                steps.append(plugin + QLatin1Char('+') + format);
            else if (call.asked == Asked::Write)
                steps.append(plugin + QLatin1Char('!') + format);
            else if (call.asked == Asked::Delete)
                steps.append(plugin + QLatin1Char('-'));
        }
        return steps;
    }

    QStringList roadOfFile(const QString &name, const QByteArray &format = QByteArray())
    {
        QImageWriterEx writer(path(name), format);
        return road(writer);
    }

    /// \a steps without the deletions, whose moment is free.
    static QStringList kept(QStringList steps)
    {
        steps.erase(std::remove_if(steps.begin(), steps.end(),
                                   [](const QString &step) { return step.endsWith('-'); }),
                    steps.end());
        return steps;
    }
};

} // namespace

TEST_F(WriterPlugins, FirstThatCanWriteTheFormatWins)
{
    recorder().first = writing({"png"});
    recorder().second = writing({"png", "any"});
    EXPECT_EQ(roadOfFile("file", "png"), QStringList({"first? png", "first+ png", "first! png"}));
    EXPECT_EQ(roadOfFile("file", "any"),
              QStringList({"first? any", "second? any", "second+ any", "second! any"}));
    EXPECT_EQ(roadOfFile("file", "unknown"), QStringList({"first? unknown", "second? unknown"}));
}

TEST_F(WriterPlugins, FormatIsLowerCased)
{
    recorder().first = writing({"png"});
    EXPECT_EQ(roadOfFile("file", "PnG"), QStringList({"first? png", "first+ png", "first! png"}));
    recorder().first = writing({"PNG"}); // nobody asks for that
    EXPECT_EQ(roadOfFile("file", "PNG"), QStringList({"first? png", "second? png"}));
}

TEST_F(WriterPlugins, KeysDoNotMatterForAFormatThatIsGiven)
{
    recorder().first = writing({"not among the keys"});
    EXPECT_EQ(roadOfFile("file.png", "not among the keys").last(), "first! not among the keys");
}

// The plugin whose key is the suffix is asked first, then all are, and the last handler stays.
TEST_F(WriterPlugins, SuffixIsTriedAtItsPluginFirst)
{
    recorder().second = writing({"second"});
    EXPECT_EQ(kept(roadOfFile("a.second")),
              QStringList({"second? second", "second+ second", "first? second", "second? second",
                           "second+ second", "second! second"}));

    recorder().first = writing({"second"});
    EXPECT_EQ(kept(roadOfFile("a.second")),
              QStringList({"second? second", "second+ second", "first? second", "first+ second",
                           "first! second"}));

    recorder().second = Behaviour();
    EXPECT_EQ(kept(roadOfFile("a.second")),
              QStringList({"second? second", "first? second", "first+ second", "first! second"}));

    recorder().first = Behaviour();
    EXPECT_EQ(kept(roadOfFile("a.second")),
              QStringList({"second? second", "first? second", "second? second"}));
}

TEST_F(WriterPlugins, SuffixOfSeveralPluginsIsTriedAtTheFirst)
{
    recorder().second = writing({"shared"});
    EXPECT_EQ(kept(roadOfFile("a.shared")),
              QStringList({"first? shared", "first? shared", "second? shared", "second+ shared",
                           "second! shared"}));
}

TEST_F(WriterPlugins, SuffixThatIsNobodysKeyIsAskedOfAll)
{
    recorder().second = writing({"strange"});
    EXPECT_EQ(
        roadOfFile("a.strange"),
        QStringList({"first? strange", "second? strange", "second+ strange", "second! strange"}));
}

TEST_F(WriterPlugins, ReplacedHandlerIsDeleted)
{
    recorder().first = writing({"second"});
    recorder().second = writing({"second"});
    {
        QImageWriterEx writer(path(QStringLiteral("a.second")));
        EXPECT_EQ(road(writer).count("second-"), 1);
        EXPECT_TRUE(writer.canWrite());
    }
    EXPECT_EQ(callsOf(Asked::Create).size(), 2U);
    EXPECT_EQ(callsOf(Asked::Delete).size(), 2U);
}

TEST_F(WriterPlugins, SuffixIsLowerCased)
{
    recorder().first = writing({"png"});
    EXPECT_EQ(roadOfFile("A.PNG").last(), "first! png");
    recorder().second = writing({"second"});
    EXPECT_EQ(roadOfFile("a.SeCoNd").first(), "second? second");
    EXPECT_EQ(roadOfFile("a.SeCoNd").last(), "second! second");
}

TEST_F(WriterPlugins, SuffixIsWhatFollowsTheLastDot)
{
    recorder().first = writing({"png", "jpg"});
    EXPECT_EQ(roadOfFile("a.jpg.png").last(), "first! png");
    EXPECT_EQ(roadOfFile(".png").last(), "first! png");
    EXPECT_EQ(roadOfFile("png"), QStringList());
    EXPECT_EQ(roadOfFile("a."), QStringList());
}

TEST_F(WriterPlugins, GivenFormatCountsMoreThanTheSuffix)
{
    recorder().first = writing({"png"});
    recorder().second = writing({"second"});
    EXPECT_EQ(roadOfFile("a.second", "png"),
              QStringList({"first? png", "first+ png", "first! png"}));
}

TEST_F(WriterPlugins, OnlyFilesHaveASuffix)
{
    recorder().first = writing({"png", ""});
    QBuffer buffer;
    QImageWriterEx writer(&buffer, QByteArray());
    EXPECT_EQ(road(writer), QStringList());
    EXPECT_EQ(writer.error(), QImageWriter::UnsupportedFormatError);
}

TEST_F(WriterPlugins, AreAskedAboutTheDevice)
{
    recorder().second = writing({"second"});
    QFile file(path(QStringLiteral("a.second")));
    QImageWriterEx writer(&file, QByteArray());
    road(writer);
    EXPECT_EQ(callsOf(Asked::Capabilities).size(), 3U);
    for (const Asked asked : {Asked::Capabilities, Asked::Create, Asked::Write}) {
        for (const Call &call : callsOf(asked)) {
            EXPECT_EQ(call.device, &file);
            EXPECT_EQ(call.mode & QIODevice::ReadWrite, QIODevice::WriteOnly);
        }
    }
}

TEST_F(WriterPlugins, AreAskedAboutTheUnopenedDeviceWhenOnlyTheSizeIsWanted)
{
    recorder().second = writing({"second"});
    QFile file(path(QStringLiteral("a.second")));
    QImageWriterEx writer(&file, QByteArray());
    writer.setGamma(10);
    EXPECT_EQ(kept(road(writer)),
              QStringList({"second? second", "second+ second", "first? second", "second? second",
                           "second+ second", "second! second"}));
    for (const Call &call : callsOf(Asked::Capabilities)) {
        EXPECT_EQ(call.device, &file);
        EXPECT_EQ(call.mode, QIODevice::NotOpen);
    }
}

TEST_F(WriterPlugins, WithoutADeviceTheFormatSuffices)
{
    recorder().second = writing({"second"});
    QImageWriterEx writer;
    writer.setFormat("second");
    writer.setGamma(10);
    EXPECT_EQ(road(writer),
              QStringList({"first? second", "second? second", "second+ second", "second! second"}));
    for (const Call &call : callsOf(Asked::Capabilities))
        EXPECT_EQ(call.device, nullptr);
}

TEST_F(WriterPlugins, ReadingIsNotWriting)
{
    recorder().first.reads = true;
    EXPECT_EQ(roadOfFile("a.png"), QStringList({"first? png", "first? png", "second? png"}));
}

TEST_F(WriterPlugins, HandlerIsMadeOnceForAllQuestions)
{
    recorder().first = writing({"png"});
    QImageWriterEx writer(path(QStringLiteral("a")), "png");
    EXPECT_TRUE(writer.supportsOption(QImageIOHandler::Quality));
    EXPECT_TRUE(writer.canWrite());
    EXPECT_TRUE(writer.write(image));
    EXPECT_TRUE(writer.supportsOption(QImageIOHandler::Quality));
    EXPECT_EQ(callsOf(Asked::Create).size(), 1U);
    EXPECT_EQ(callsOf(Asked::Capabilities).size(), 1U);
}

TEST_F(WriterPlugins, FormatsAreAllKeysAndTheFixedOnes)
{
    EXPECT_THAT(QImageWriterEx::supportedImageFormats(),
                ElementsAre("alone", "bmp", "jpeg", "jpg", "pbm", "pgm", "png", "ppm", "psd",
                            "second", "shared", "tif", "tiff", "xbm", "xpm"));
}

TEST_F(WriterPlugins, MimeTypesBeginWithImage)
{
    EXPECT_THAT(QImageWriterEx::supportedMimeTypes(),
                ElementsAre("image/bmp", "image/jpeg", "image/png", "image/tiff",
                            "image/vnd.adobe.photoshop", "image/x-alone", "image/x-portable-bitmap",
                            "image/x-portable-graymap", "image/x-portable-pixmap", "image/x-second",
                            "image/x-shared", "image/x-without-key", "image/x-xbitmap",
                            "image/x-xpixmap"));
}

TEST_F(WriterPlugins, FormatsOfAMimeType)
{
    const auto formats = QImageWriterEx::imageFormatsForMimeType;
    EXPECT_THAT(formats("image/png"), ElementsAre("png"));
    EXPECT_THAT(formats("image/bmp"), ElementsAre("bmp"));
    EXPECT_THAT(formats("image/x-portable-pixmap"), ElementsAre("ppm"));
    EXPECT_THAT(formats("image/x-portable-graymap"), ElementsAre("pgm"));
    EXPECT_THAT(formats("image/x-portable-bitmap"), ElementsAre("pbm"));
    EXPECT_THAT(formats("image/x-xbitmap"), ElementsAre("xbm"));
    EXPECT_THAT(formats("image/x-xpixmap"), ElementsAre("xpm"));
    EXPECT_THAT(formats("image/jpeg"), UnorderedElementsAre("jpg", "jpeg"));
    EXPECT_THAT(formats("image/tiff"), UnorderedElementsAre("tif", "tiff"));
    EXPECT_THAT(formats("image/vnd.adobe.photoshop"), ElementsAre("psd"));
    EXPECT_THAT(formats("image/x-second"), ElementsAre("second")); // "x-second" in the plugin
    EXPECT_THAT(formats("image/x-shared"), ElementsAre("shared"));
    EXPECT_THAT(formats("image/x-alone"), ElementsAre("alone"));
    for (const char *none : {"", "image/", "image", "png", "text/png", "image/x-without-key",
                             "image/x-nothing", "image/image/png"})
        EXPECT_THAT(formats(none), ElementsAre()) << none;
}

TEST_F(WriterPlugins, ListsAskNoPlugin)
{
    QImageWriterEx::supportedImageFormats();
    QImageWriterEx::supportedMimeTypes();
    QImageWriterEx::imageFormatsForMimeType("image/png");
    EXPECT_TRUE(recorder().calls.empty());
}
