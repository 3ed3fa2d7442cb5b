// Vellum::save: which way a file is written, with which settings, and what is said of it.

#include <gmock/gmock.h>

#include <limits>
#include <support/hrle.h>
#include <support/images.h>
#include <support/loadtrace.h>
#include <support/savedimages.h>

using namespace vellum::test;
using testing::ElementsAre;

namespace {

constexpr auto kQuality = QImageIOHandler::Quality;
constexpr auto kProgressive = QImageIOHandler::ProgressiveScanWrite;
constexpr auto kOptimized = QImageIOHandler::OptimizedWrite;
constexpr auto kGamma = QImageIOHandler::Gamma;

/// Text entries of an image.
using Texts = QMap<QString, QString>;

class Save : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    Save() { recorder().first = writing({"png", "jpg"}); }

    static Vellum noise(QImage::Format format = QImage::Format_RGB888)
    {
        return makeNoise(7, 5, format, GetParam());
    }

    /// Saves an image with \a texts; the calls of this one save are on record afterwards.
    bool save(const Texts &texts, int quality = -1, bool cmyk = false)
    {
        recorder().calls.clear();
        Vellum image = noise();
        for (auto text = texts.begin(); text != texts.end(); ++text)
            image.setText(text.key(), text.value());
        return image.save(path(QStringLiteral("saved.jpg")), nullptr, quality, cmyk);
    }
};

INSTANTIATE_TEST_SUITE_P(Storages, Save, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

const Texts kJpeg {{"JpegOptions", "yes"}};

Texts jpeg(const char *key, const char *value)
{
    Texts texts = kJpeg;
    texts[QString::fromLatin1(key)] = QString::fromLatin1(value);
    return texts;
}

} // namespace

TEST_P(Save, PluginGetsTheImageItselfAndTheOpenFile)
{
    Vellum image = noise();
    const QString file = path(QStringLiteral("saved.png"));
    const MessageLog log;

    EXPECT_TRUE(image.save(file));

    const Call written = onlyCall(Asked::Write);
    EXPECT_EQ(written.image, &image);
    EXPECT_TRUE(written.isVellum);
    EXPECT_EQ(written.isBig, GetParam() == Storage::Big);
    EXPECT_EQ(written.format, "png");
    EXPECT_EQ(written.mode & QIODevice::ReadWrite, QIODevice::WriteOnly);
    EXPECT_EQ(contentOf(file), "written");
    EXPECT_TRUE(log.messages().isEmpty());
    EXPECT_EQ(callsOf(Asked::Create).size(), callsOf(Asked::Delete).size());
    EXPECT_TRUE(samePixels(image, noise()));
}

TEST_P(Save, PluginSeesTheRows)
{
    Vellum image = noise();
    QByteArray rows;
    recorder().first.write = [&rows](const QImage &written, QIODevice *) {
        const Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(&written));
        for (int y = 0; y < written.height(); ++y) {
            rows += QByteArray(
                reinterpret_cast<const char *>(image_constScanLine(vellum, &written, y)), 21);
        }
        return true;
    };

    EXPECT_TRUE(image.save(path(QStringLiteral("saved.png"))));

    QByteArray expected;
    for (int y = 0; y < 5; ++y)
        expected += QByteArray(reinterpret_cast<const char *>(image.scanLineEx(y)), 21);
    EXPECT_EQ(rows, expected);
}

TEST_P(Save, FormatComesFromTheArgumentElseFromTheName)
{
    const auto formatOf = [](Vellum image, const QString &file, const char *format) {
        recorder().calls.clear();
        EXPECT_TRUE(image.save(file, format)) << qPrintable(file) << " " << format;
        return onlyCall(Asked::Write).format;
    };
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.png")), nullptr), "png");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.PNG")), nullptr), "png");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.png")), ""), "png");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.png")), "jpg"), "jpg");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.png")), "JPG"), "jpg");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a")), "png"), "png");
    EXPECT_EQ(formatOf(noise(), path(QStringLiteral("a.hrle.png")), nullptr), "png");
}

TEST_P(Save, HrleEndingIsComparedExactly)
{
    recorder().first.writes.append("hrle");
    Vellum grey = noise(QImage::Format_Grayscale8);
    for (const char *name : {"a.hrle", ".hrle", "b.png.hrle"}) {
        for (const char *format : {static_cast<const char *>(nullptr), "png"}) {
            const QString file = path(QString::fromLatin1(name));
            const MessageLog log;
            EXPECT_TRUE(grey.save(file, format, 777, true)) << name;
            EXPECT_EQ(contentOf(file), expectedFile(grey)) << name;
            EXPECT_TRUE(recorder().calls.empty()) << name;
            EXPECT_FALSE(grey.getSaveAsCmyk());
        }
    }
    for (const char *name : {"a.HRLE", "a.Hrle"}) {
        EXPECT_TRUE(grey.save(path(QString::fromLatin1(name)))) << name;
        EXPECT_EQ(onlyCall(Asked::Write).format, "hrle") << name;
        EXPECT_EQ(contentOf(path(QString::fromLatin1(name))), "written") << name;
        recorder().calls.clear();
    }
}

TEST_P(Save, HrleResultIsThatOfTheHrleWriter)
{
    Vellum colours = noise(QImage::Format_ARGB32);
    EXPECT_TRUE(colours.save(path(QStringLiteral("colours.hrle"))));
    EXPECT_EQ(contentOf(path(QStringLiteral("colours.hrle"))).size(), 14);

    EXPECT_TRUE(Vellum().save(path(QStringLiteral("null.hrle"))));
    EXPECT_EQ(contentOf(path(QStringLiteral("null.hrle"))).size(), 14);

    const MessageLog log;
    EXPECT_FALSE(colours.save(path(QStringLiteral("no folder/a.hrle"))));
    EXPECT_TRUE(log.messages().isEmpty());
}

TEST_P(Save, NullImageIsRefusedInSilence)
{
    const QString file = path(QStringLiteral("null.png"));
    const MessageLog log;

    EXPECT_FALSE(Vellum().save(file));
    EXPECT_FALSE(Vellum().save(file, "png", 777, true));

    EXPECT_TRUE(log.messages().isEmpty());
    EXPECT_TRUE(recorder().calls.empty());
    EXPECT_FALSE(QFile::exists(file));
}

TEST_P(Save, FailureIsOneLine)
{
    Vellum image = noise();
    const QString unknown = path(QStringLiteral("picture.unknown"));
    const QString unopened = path(QStringLiteral("no folder/picture.png"));
    for (const QString &file : {unknown, unopened, QString(), folder.path()}) {
        const MessageLog log;
        EXPECT_FALSE(image.save(file));
        EXPECT_THAT(log.messages(QtDebugMsg),
                    ElementsAre(QStringLiteral("Vellum::save failed,  ") + printed(file)));
    }
    EXPECT_FALSE(QFile::exists(unknown));

    recorder().first.write = [](const QImage &, QIODevice *) { return false; };
    const QString file = path(QStringLiteral("picture.png"));
    const MessageLog log;
    EXPECT_FALSE(image.save(file));
    EXPECT_THAT(log.messages(),
                ElementsAre(QStringLiteral("Vellum::save failed,  ") + printed(file)));
    EXPECT_EQ(log.messages(QtDebugMsg).size(), 1);
    EXPECT_TRUE(QFile::exists(file)); // the plugin had begun
}

TEST_P(Save, QualityWithinTheRangeReachesThePlugin)
{
    for (const int quality : {-1, 0, 1, 50, 99, 100}) {
        const MessageLog log;
        EXPECT_TRUE(save({}, quality));
        EXPECT_EQ(given(kQuality), QVariant(quality)); // the writer's own value is -1
        EXPECT_TRUE(log.messages().isEmpty());
    }
}

TEST_P(Save, QualityOutsideTheRangeIsRemarkedUponAndBecomes100)
{
    for (const int quality :
         {101, -2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const MessageLog log;

        EXPECT_TRUE(save({}, quality));

        EXPECT_EQ(given(kQuality), QVariant(100));
        EXPECT_THAT(log.messages(QtWarningMsg),
                    ElementsAre("QPixmap::save: Quality out of range [-1, 100]"));
        EXPECT_THAT(log.messages(QtDebugMsg),
                    ElementsAre(QStringLiteral("quality =  %1").arg(quality)));
        EXPECT_TRUE(log.messages()[0].startsWith("QPixmap"));
    }
}

TEST_P(Save, JpegOptionsReplaceTheQuality)
{
    const std::pair<const char *, int> texts[] = {
        {"75", 75}, {"0", 0},    {"100", 100}, {"-1", -1},         {" 42 ", 42},
        {"+7", 7},  {"abc", 0},  {"", 0},      {"7.5", 0},         {"0x10", 0},
        {"1e1", 0}, {"12 3", 0}, {"010", 10},  {"99999999999", 0},
    };
    for (const int argument : {-1, 33, 777}) {
        for (const auto &[text, quality] : texts) {
            const MessageLog log;
            EXPECT_TRUE(save(jpeg("quality", text), argument));
            EXPECT_EQ(given(kQuality), QVariant(quality)) << text;
            EXPECT_TRUE(log.messages().isEmpty()) << text;
        }
        EXPECT_TRUE(save(kJpeg, argument));
        EXPECT_EQ(given(kQuality), QVariant(0)) << "missing";
    }
}

TEST_P(Save, QualityOfJpegOptionsOutsideTheRangeBecomes100)
{
    for (const char *text : {"101", "-2", "2147483647"}) {
        const MessageLog log;
        EXPECT_TRUE(save(jpeg("quality", text), 33));
        EXPECT_EQ(given(kQuality), QVariant(100)) << text;
        EXPECT_EQ(log.messages(QtWarningMsg).size(), 1) << text;
        EXPECT_THAT(log.messages(QtDebugMsg),
                    ElementsAre(QStringLiteral("quality =  ") + QString::fromLatin1(text)));
    }
}

TEST_P(Save, JpegOptionsChooseProgressiveOrOptimisedCoding)
{
    for (const char *progressive : {static_cast<const char *>(nullptr), "false", "true", "False",
                                    "FALSE", " false", "0", "no", ""}) {
        for (const char *optimize :
             {static_cast<const char *>(nullptr), "true", "false", "True", "1", "yes", ""}) {
            Texts texts = kJpeg;
            if (progressive)
                texts[QStringLiteral("progressive")] = QString::fromLatin1(progressive);
            if (optimize)
                texts[QStringLiteral("optimize")] = QString::fromLatin1(optimize);

            EXPECT_TRUE(save(texts));

            const bool isProgressive = !progressive || qstrcmp(progressive, "false") != 0;
            const bool isOptimized = !isProgressive && qstrcmp(optimize, "true") == 0;
            EXPECT_EQ(given(kProgressive), QVariant(isProgressive))
                << (progressive ? progressive : "none");
            EXPECT_EQ(given(kOptimized), QVariant(isOptimized))
                << (progressive ? progressive : "none") << ", " << (optimize ? optimize : "none");
        }
    }
}

TEST_P(Save, OtherValuesOfJpegOptionsTurnAllFourKeysOff)
{
    for (const char *value : {"Yes", "YES", "yes ", " yes", "true", "1", "no", ""}) {
        const Texts texts {{"JpegOptions", QString::fromLatin1(value)},
                           {"quality", "75"},
                           {"progressive", "true"},
                           {"optimize", "true"},
                           {"cmyk", "true"}};
        EXPECT_TRUE(save(texts, 33)) << value;
        EXPECT_EQ(given(kQuality), QVariant(33)) << value;
        EXPECT_EQ(given(kProgressive), QVariant(false)) << value;
        EXPECT_EQ(given(kOptimized), QVariant(false)) << value;
        EXPECT_FALSE(onlyCall(Asked::Write).saveAsCmyk) << value;
    }
    const Texts withoutSwitch {
        {"quality", "75"}, {"progressive", "false"}, {"optimize", "true"}, {"cmyk", "true"}};
    EXPECT_TRUE(save(withoutSwitch, 33));
    EXPECT_EQ(given(kQuality), QVariant(33));
    EXPECT_EQ(given(kProgressive), QVariant(false));
    EXPECT_EQ(given(kOptimized), QVariant(false));
    EXPECT_FALSE(onlyCall(Asked::Write).saveAsCmyk);
}

TEST_P(Save, KeysAreComparedExactly)
{
    for (const char *key : {"jpegoptions", "JPEGOPTIONS", "JpegOptions "}) {
        EXPECT_TRUE(save({{QString::fromLatin1(key), "yes"}, {"quality", "75"}}, 33));
        EXPECT_EQ(given(kQuality), QVariant(33)) << key;
    }
    EXPECT_TRUE(save({{"JpegOptions", "yes"}, {"Quality", "75"}, {"Progressive", "false"}}, 33));
    EXPECT_EQ(given(kQuality), QVariant(0));
    EXPECT_EQ(given(kProgressive), QVariant(true));
}

TEST_P(Save, NothingElseIsSetOnTheWriter)
{
    EXPECT_TRUE(save({{"Description", "text"}, {"Title", "text"}}));
    EXPECT_THAT(
        givenOptions(),
        ElementsAre(kQuality, QImageIOHandler::CompressionRatio, kGamma, kOptimized, kProgressive));
    EXPECT_EQ(given(kGamma).toFloat(), 0.0F);
    EXPECT_EQ(given(QImageIOHandler::CompressionRatio), QVariant(-1));
}

TEST_P(Save, FileIsOverwritten)
{
    makeFile(QStringLiteral("saved.png"), "something longer than what is written");
    EXPECT_TRUE(noise().save(path(QStringLiteral("saved.png"))));
    EXPECT_EQ(contentOf(path(QStringLiteral("saved.png"))), "written");
}

TEST_P(Save, ImageIsLeftAsItWas)
{
    Vellum image = noise(QImage::Format_ARGB32_Premultiplied);
    image.setText(QStringLiteral("JpegOptions"), QStringLiteral("yes"));
    image.setIccProfile("a profile");
    image.setOrgFileCmyk(true);
    const Vellum copy = image;
    const uchar *const row = copy.scanLineEx(0);

    EXPECT_TRUE(image.save(path(QStringLiteral("saved.png")), nullptr, 5));

    EXPECT_TRUE(samePixels(image, noise(QImage::Format_ARGB32_Premultiplied)));
    EXPECT_EQ(std::as_const(image).scanLineEx(0), row);
    EXPECT_EQ(image.textKeys(), QStringList(QStringLiteral("JpegOptions")));
    EXPECT_EQ(image.getIccProfile(), "a profile");
    EXPECT_TRUE(image.isOrgFileCmyk());
    EXPECT_FALSE(image.getSaveAsCmyk());
}
