// Saving as CMYK: what the plugin finds on the image while it writes, and what is left of it.

#include <support/images.h>
#include <support/messages.h>
#include <support/profiles.h>
#include <support/savedimages.h>

using namespace vellum::test;

namespace {

class SaveCmyk : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    SaveCmyk() { recorder().first = writing({"jpg"}); }

    static Vellum noise(QImage::Format format = QImage::Format_ARGB32)
    {
        return makeNoise(7, 5, format, GetParam());
    }

    bool save(Vellum &image, bool cmyk)
    {
        recorder().calls.clear();
        return image.save(path(QStringLiteral("saved.jpg")), nullptr, -1, cmyk);
    }

    /// The image's first row as the plugin gets it in CMYK, while it writes.
    static QByteArray &transformed()
    {
        static QByteArray row;
        row = QByteArray(7 * 4, '\x55');
        recorder().first.write = [](const QImage &image, QIODevice *) {
            Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(&image));
            vellum->doCmykTransform(vellum->scanLineEx(0), row.data(), 7, 1,
                                    unsigned(image.bytesPerLine()), 28);
            return true;
        };
        return row;
    }
};

INSTANTIATE_TEST_SUITE_P(Storages, SaveCmyk, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

const char *kNone = nullptr;

} // namespace

TEST_P(SaveCmyk, ArgumentOrTextAsksForIt)
{
    for (const bool argument : {false, true}) {
        for (const char *options : {kNone, "yes", "no"}) {
            for (const char *text : {kNone, "true", "false", "True", "1", ""}) {
                Vellum image = noise();
                if (options)
                    image.setText(QStringLiteral("JpegOptions"), QString::fromLatin1(options));
                if (text)
                    image.setText(QStringLiteral("cmyk"), QString::fromLatin1(text));

                EXPECT_TRUE(save(image, argument));

                const bool expected =
                    argument || (qstrcmp(options, "yes") == 0 && qstrcmp(text, "true") == 0);
                const Call written = onlyCall(Asked::Write);
                EXPECT_EQ(written.saveAsCmyk, expected) << argument << options << text;
                EXPECT_EQ(written.hasCmykTransform, expected);
                EXPECT_EQ(image.getSaveAsCmyk(), expected);
                EXPECT_FALSE(image.hasSaveCmykTransform());
            }
        }
    }
}

TEST_P(SaveCmyk, TransformLeadsFromSrgbToThePress)
{
    const std::pair<QImage::Format, cmsUInt32Number> formats[] = {
        {QImage::Format_ARGB32, TYPE_BGRA_8},
        {QImage::Format_RGB888, TYPE_RGB_8},
        {QImage::Format_RGBA8888, TYPE_RGBA_8},
    };
    for (const auto &[format, lcmsFormat] : formats) {
        Vellum image = noise(format);
        const QByteArray &row = transformed();

        EXPECT_TRUE(save(image, true));

        const OwnedTransform direct =
            chainTransform({cmsCreate_sRGBProfile(),
                            openBytes(readFile(profileFile(QStringLiteral("cmyk.icm")))).release()},
                           lcmsFormat, TYPE_CMYK_8);
        QByteArray expected(28, '\x55');
        cmsDoTransform(direct.get(), image.scanLineEx(0), expected.data(), 7);
        EXPECT_EQ(row, expected) << format;
    }
}

TEST_P(SaveCmyk, FlagStaysAndStaysWithoutEffect)
{
    Vellum image = noise();
    EXPECT_TRUE(save(image, true));
    EXPECT_TRUE(image.getSaveAsCmyk());

    EXPECT_TRUE(save(image, false)); // the flag alone prepares nothing

    EXPECT_TRUE(image.getSaveAsCmyk());
    EXPECT_TRUE(onlyCall(Asked::Write).saveAsCmyk);
    EXPECT_FALSE(onlyCall(Asked::Write).hasCmykTransform);
}

TEST_P(SaveCmyk, HeadOfAChainReleasesTheTransformForAll)
{
    Vellum image = noise();
    Vellum next = noise();
    Vellum last = noise();
    image.setNextImage(&next);
    next.setNextImage(&last);

    EXPECT_TRUE(save(image, true));

    EXPECT_TRUE(onlyCall(Asked::Write).hasCmykTransform);
    EXPECT_TRUE(next.getSaveAsCmyk());
    EXPECT_TRUE(last.getSaveAsCmyk());
    EXPECT_FALSE(image.hasSaveCmykTransform());
    EXPECT_FALSE(next.hasSaveCmykTransform());
    EXPECT_FALSE(last.hasSaveCmykTransform());
}

TEST_P(SaveCmyk, LaterImageOfAChainKeepsTheTransform)
{
    Vellum first = noise();
    Vellum image = noise();
    Vellum last = noise();
    first.setNextImage(&image);
    image.setNextImage(&last);

    EXPECT_TRUE(save(image, true));

    EXPECT_FALSE(first.getSaveAsCmyk());
    EXPECT_TRUE(last.getSaveAsCmyk());
    EXPECT_FALSE(first.hasSaveCmykTransform());
    EXPECT_TRUE(image.hasSaveCmykTransform());
    EXPECT_TRUE(last.hasSaveCmykTransform());

    EXPECT_TRUE(save(first, true)); // its own transform reaches all, and goes for all
    EXPECT_FALSE(first.hasSaveCmykTransform());
    EXPECT_FALSE(image.hasSaveCmykTransform());
    EXPECT_FALSE(last.hasSaveCmykTransform());
}

TEST_P(SaveCmyk, SavingWithoutItLeavesAnEarlierTransform)
{
    Vellum image = noise();
    image.rePrepareSaveCmyk(image.format());

    EXPECT_TRUE(save(image, false));

    EXPECT_TRUE(image.hasSaveCmykTransform());
}

TEST_P(SaveCmyk, TransformIsReleasedAfterAFailure)
{
    Vellum image = noise();
    const MessageLog log;
    recorder().first.write = [](const QImage &, QIODevice *) { return false; };
    EXPECT_FALSE(save(image, true));
    EXPECT_TRUE(onlyCall(Asked::Write).hasCmykTransform);
    EXPECT_TRUE(image.getSaveAsCmyk());
    EXPECT_FALSE(image.hasSaveCmykTransform());

    Vellum unsaved = noise();
    EXPECT_FALSE(unsaved.save(path(QStringLiteral("a.unknown")), nullptr, -1, true));
    EXPECT_TRUE(unsaved.getSaveAsCmyk());
    EXPECT_FALSE(unsaved.hasSaveCmykTransform());
}

TEST_P(SaveCmyk, FormatsWithoutATransformAreSavedAllTheSame)
{
    for (const auto format : {QImage::Format_ARGB32_Premultiplied, QImage::Format_Indexed8,
                              QImage::Format_Mono, QImage::Format_RGB16}) {
        Vellum image = noise(format);
        const QByteArray &row = transformed();

        EXPECT_TRUE(save(image, true));

        EXPECT_TRUE(onlyCall(Asked::Write).saveAsCmyk);
        EXPECT_FALSE(onlyCall(Asked::Write).hasCmykTransform);
        EXPECT_EQ(row, QByteArray(28, '\x55'));
    }
}

TEST_P(SaveCmyk, PluginMayPrepareAnotherFormat)
{
    Vellum image = noise(QImage::Format_Indexed8);
    bool prepared = false;
    recorder().first.write = [&prepared](const QImage &written, QIODevice *) {
        Vellum *const vellum = Vellum::getVellum(const_cast<QImage *>(&written));
        vellum->rePrepareSaveCmyk(QImage::Format_RGB32);
        prepared = vellum->hasSaveCmykTransform();
        return true;
    };

    EXPECT_TRUE(save(image, true));

    EXPECT_TRUE(prepared);
    EXPECT_FALSE(image.hasSaveCmykTransform());
}
