// Saving with "filesizeonly": the plugin reports a size through gamma, and no file is touched.

#include <limits>
#include <support/images.h>
#include <support/messages.h>
#include <support/savedimages.h>

using namespace vellum::test;

namespace {

constexpr auto kGamma = QImageIOHandler::Gamma;

class SaveSizeOnly : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    SaveSizeOnly()
    {
        recorder().first = writing({"jpg"});
        image = makeNoise(7, 5, QImage::Format_RGB888, GetParam());
        image.setText(QStringLiteral("filesizeonly"), QStringLiteral("true"));
    }

    /// Makes the plugin report \a size once it has written.
    static void report(float size)
    {
        recorder().first.write = [size](const QImage &, QIODevice *) {
            recorder().first.values[kGamma] = size;
            return true;
        };
    }

    /// Gives the image a layer record, and returns its size field.
    const qint64 &encodedSize()
    {
        auto *const layer = new PsdLayerData;
        layer->encodedSize = 77;
        image.setPsdLayerData(layer);
        return layer->encodedSize;
    }

    bool save(const QString &name = QStringLiteral("saved.jpg"))
    {
        recorder().calls.clear();
        return image.save(path(name));
    }

    Vellum image;
};

INSTANTIATE_TEST_SUITE_P(Storages, SaveSizeOnly, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

} // namespace

TEST_P(SaveSizeOnly, PluginIsAskedByGammaAndAnswersByGamma)
{
    const qint64 &size = encodedSize();
    report(4096);

    EXPECT_TRUE(save());

    EXPECT_EQ(given(kGamma).toFloat(), 10.0F);
    EXPECT_EQ(onlyCall(Asked::Write).image, &image);
    EXPECT_EQ(size, 4096);
}

TEST_P(SaveSizeOnly, NoFileIsMadeOrOpened)
{
    EXPECT_TRUE(save());
    EXPECT_EQ(onlyCall(Asked::Write).mode, QIODevice::NotOpen);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("saved.jpg"))));

    makeFile(QStringLiteral("there.jpg"), "as it was");
    EXPECT_TRUE(save(QStringLiteral("there.jpg")));
    EXPECT_EQ(contentOf(path(QStringLiteral("there.jpg"))), "as it was");

    EXPECT_TRUE(save(QStringLiteral("no folder/saved.jpg")));
}

TEST_P(SaveSizeOnly, SizeIsTruncated)
{
    const std::pair<float, qint64> sizes[] = {
        {0.0F, 0},
        {0.99F, 0},
        {4096.75F, 4096},
        {-1.5F, -1},
        {16777216.0F, 16777216},
        {4294967296.0F, 4294967296},
        {1.0e18F, qint64(1.0e18F)},
    };
    const qint64 &size = encodedSize();
    for (const auto &[reported, expected] : sizes) {
        report(reported);
        EXPECT_TRUE(save());
        EXPECT_EQ(size, expected) << reported;
    }
}

TEST_P(SaveSizeOnly, AnswersThatAreNoSizeDoNoHarm)
{
    encodedSize();
    for (const float reported : {1.0e30F, -1.0e30F, std::numeric_limits<float>::infinity(),
                                 std::numeric_limits<float>::quiet_NaN(), 9223372036854775808.0F}) {
        report(reported);
        EXPECT_TRUE(save());
    }
}

TEST_P(SaveSizeOnly, ImageWithoutALayerRecordIsSavedTheSameWay)
{
    report(4096);
    EXPECT_TRUE(save());
    EXPECT_EQ(given(kGamma).toFloat(), 10.0F);
    EXPECT_EQ(image.getPsdLayerData(), nullptr);
}

TEST_P(SaveSizeOnly, SizeIsStoredAfterAFailedWriteToo)
{
    const qint64 &size = encodedSize();
    const MessageLog log;
    recorder().first.write = [](const QImage &, QIODevice *) {
        recorder().first.values[kGamma] = 123.0F;
        return false;
    };

    EXPECT_FALSE(save());

    EXPECT_EQ(size, 123);
}

// Nobody can answer, and the writer still has the gamma that was to ask.
TEST_P(SaveSizeOnly, WithoutAPluginTheStoredGammaIsTheSize)
{
    const qint64 &size = encodedSize();
    const MessageLog log;

    EXPECT_FALSE(save(QStringLiteral("saved.unknown")));

    EXPECT_EQ(size, 10);
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("saved.unknown"))));
}

TEST_P(SaveSizeOnly, PluginThatIgnoresGammaReportsWhatItSaysOfIt)
{
    const qint64 &size = encodedSize();
    recorder().first.options.removeAll(kGamma);
    recorder().first.values[kGamma] = 55.0F;

    EXPECT_TRUE(save());

    EXPECT_FALSE(given(kGamma).isValid());
    EXPECT_EQ(size, 55);
}

TEST_P(SaveSizeOnly, OnlyTheExactWordAsks)
{
    const qint64 &size = encodedSize();
    for (const char *word : {"True", "TRUE", "yes", "1", " true", "false", ""}) {
        image.setText(QStringLiteral("filesizeonly"), QString::fromLatin1(word));
        report(4096);
        EXPECT_TRUE(save()) << word;
        EXPECT_EQ(given(kGamma).toFloat(), 0.0F) << word;
        EXPECT_TRUE(onlyCall(Asked::Write).mode & QIODevice::WriteOnly) << word;
        EXPECT_EQ(size, 77) << word;
    }
}

TEST_P(SaveSizeOnly, JpegOptionsApplyAndAreNotNeeded)
{
    image.setText(QStringLiteral("JpegOptions"), QStringLiteral("yes"));
    image.setText(QStringLiteral("quality"), QStringLiteral("61"));
    image.setText(QStringLiteral("cmyk"), QStringLiteral("true"));
    const qint64 &size = encodedSize();
    report(4096);

    EXPECT_TRUE(save());

    EXPECT_EQ(given(QImageIOHandler::Quality), QVariant(61));
    EXPECT_TRUE(onlyCall(Asked::Write).hasCmykTransform);
    EXPECT_EQ(given(kGamma).toFloat(), 10.0F);
    EXPECT_EQ(size, 4096);
}

TEST_P(SaveSizeOnly, RecordGivenWhileWritingIsTheOneThatCounts)
{
    encodedSize();
    auto *const other = new PsdLayerData;
    recorder().first.write = [this, other](const QImage &, QIODevice *) {
        image.setPsdLayerData(other);
        recorder().first.values[kGamma] = 8.0F;
        return true;
    };

    EXPECT_TRUE(save());

    EXPECT_EQ(other->encodedSize, 8);
}

TEST_P(SaveSizeOnly, HrleKnowsNothingOfIt)
{
    EXPECT_TRUE(image.save(path(QStringLiteral("a.hrle"))));
    EXPECT_TRUE(QFile::exists(path(QStringLiteral("a.hrle"))));
}
