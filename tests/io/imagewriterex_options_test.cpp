// The settings of QImageWriterEx: kept, handed over, reported back, and its texts translated.

#include <QBuffer>
#include <QTranslator>

#include <gmock/gmock.h>

#include <support/images.h>
#include <support/savedimages.h>
#include <type_traits>

using namespace vellum::test;
using testing::ElementsAre;

namespace {

using Handler = QImageIOHandler;

class WriterOptions : public WithRecordingPlugins
{
protected:
    WriterOptions() { recorder().first = writing({"png"}); }

    Vellum image = makeNoise(7, 5, QImage::Format_ARGB32, Storage::Plain);
    QBuffer buffer;
    QImageWriterEx writer {&buffer, "png"};
};

/// Answers with the text in brackets, in the writer's context only.
class Bracketing : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char *context, const char *text, const char *, int) const override
    {
        if (qstrcmp(context, "QImageWriterEx") != 0)
            return {};
        return QLatin1Char('[') + QString::fromLatin1(text) + QLatin1Char(']');
    }
};

class WriterTranslations : public WriterOptions
{
protected:
    WriterTranslations() { QCoreApplication::installTranslator(&translator); }
    ~WriterTranslations() override { QCoreApplication::removeTranslator(&translator); }

    Bracketing translator;
};

} // namespace

TEST_F(WriterOptions, Defaults)
{
    const QImageWriterEx fresh;
    EXPECT_EQ(fresh.format(), QByteArray());
    EXPECT_EQ(fresh.device(), nullptr);
    EXPECT_EQ(fresh.fileName(), QString());
    EXPECT_EQ(fresh.quality(), -1);
    EXPECT_EQ(fresh.compression(), -1);
    EXPECT_EQ(fresh.gamma(), 0.0F);
    EXPECT_EQ(fresh.description(), QString());
    EXPECT_EQ(fresh.text(), QString());
    EXPECT_EQ(fresh.subType(), QByteArray());
    EXPECT_FALSE(fresh.optimizedWrite());
    EXPECT_FALSE(fresh.progressiveScanWrite());
    EXPECT_EQ(fresh.transformation(), Handler::TransformationNone);
    static_assert(!std::is_copy_constructible_v<QImageWriterEx>);
    static_assert(!std::is_copy_assignable_v<QImageWriterEx>);
}

TEST_F(WriterOptions, ConstructorsSetFormatAndDevice)
{
    EXPECT_EQ(writer.format(), "png");
    EXPECT_EQ(writer.device(), &buffer);
    EXPECT_EQ(writer.fileName(), QString());

    const QString name = path(QStringLiteral("a.PNG"));
    const QImageWriterEx named(name);
    EXPECT_EQ(named.format(), QByteArray());
    EXPECT_EQ(named.fileName(), name);
    const QImageWriterEx formatted(name, "JPG");
    EXPECT_EQ(formatted.format(), "JPG");
    EXPECT_EQ(formatted.fileName(), name);
    EXPECT_FALSE(QFile::exists(name));

    QFile file(name);
    const QImageWriterEx lent(&file, "png");
    EXPECT_EQ(lent.fileName(), name);
}

TEST_F(WriterOptions, GettersReturnWhatWasSet)
{
    writer.setFormat("jpg");
    writer.setQuality(12);
    writer.setCompression(34);
    writer.setGamma(2.5F);
    writer.setDescription(QStringLiteral("description"));
    writer.setSubType("sub");
    writer.setOptimizedWrite(true);
    writer.setProgressiveScanWrite(true);
    writer.setTransformation(Handler::TransformationRotate270);

    EXPECT_EQ(writer.format(), "jpg");
    EXPECT_EQ(writer.quality(), 12);
    EXPECT_EQ(writer.compression(), 34);
    EXPECT_EQ(writer.gamma(), 2.5F);
    EXPECT_EQ(writer.description(), QStringLiteral("description"));
    EXPECT_EQ(writer.subType(), "sub");
    EXPECT_TRUE(writer.optimizedWrite());
    EXPECT_TRUE(writer.progressiveScanWrite());
    EXPECT_EQ(writer.transformation(), Handler::TransformationRotate270);
    EXPECT_TRUE(recorder().calls.empty());
}

TEST_F(WriterOptions, TextsAreCollectedLineByLine)
{
    writer.setText(QStringLiteral("Title"), QStringLiteral("One"));
    EXPECT_EQ(writer.text(), QStringLiteral("Title: One"));
    writer.setText(QStringLiteral("Author"), QStringLiteral("Two"));
    EXPECT_EQ(writer.text(), QStringLiteral("Title: One\nAuthor: Two"));
    writer.setText(QStringLiteral("only this"));
    EXPECT_EQ(writer.text(), QStringLiteral("only this"));
    writer.setText(QStringLiteral("Key"), QStringLiteral("Three"));
    EXPECT_EQ(writer.text(), QStringLiteral("only this\nKey: Three"));

    EXPECT_TRUE(writer.write(image));

    EXPECT_EQ(writer.description(), QString());
    EXPECT_FALSE(given(Handler::Description).isValid());
}

TEST_F(WriterOptions, AllAreHandedOverInOrderWithTheirValues)
{
    writer.setProgressiveScanWrite(true);
    writer.setOptimizedWrite(true);
    writer.setSubType("sub");
    writer.setDescription(QStringLiteral("description"));
    writer.setGamma(2.5F);
    writer.setCompression(34);
    writer.setQuality(12);
    writer.setTransformation(Handler::TransformationMirror);

    EXPECT_TRUE(writer.write(image));

    EXPECT_THAT(givenOptions(),
                ElementsAre(Handler::Quality, Handler::CompressionRatio, Handler::Gamma,
                            Handler::Description, Handler::SubType, Handler::OptimizedWrite,
                            Handler::ProgressiveScanWrite));
    EXPECT_EQ(given(Handler::Quality), QVariant(12));
    EXPECT_EQ(given(Handler::CompressionRatio), QVariant(34));
    EXPECT_EQ(given(Handler::Gamma), QVariant(2.5F));
    EXPECT_EQ(given(Handler::Description), QVariant(QStringLiteral("description")));
    EXPECT_EQ(given(Handler::SubType), QVariant(QByteArray("sub")));
    EXPECT_EQ(given(Handler::OptimizedWrite), QVariant(true));
    EXPECT_EQ(given(Handler::ProgressiveScanWrite), QVariant(true));
}

TEST_F(WriterOptions, DefaultsAreHandedOverButNoEmptyTexts)
{
    EXPECT_TRUE(writer.write(image));

    EXPECT_THAT(givenOptions(),
                ElementsAre(Handler::Quality, Handler::CompressionRatio, Handler::Gamma,
                            Handler::OptimizedWrite, Handler::ProgressiveScanWrite));
    EXPECT_EQ(given(Handler::Quality), QVariant(-1));
    EXPECT_EQ(given(Handler::CompressionRatio), QVariant(-1));
    EXPECT_EQ(given(Handler::Gamma).toFloat(), 0.0F);
    EXPECT_EQ(given(Handler::OptimizedWrite), QVariant(false));
    EXPECT_EQ(given(Handler::ProgressiveScanWrite), QVariant(false));
}

TEST_F(WriterOptions, ComeBeforeTheWriting)
{
    EXPECT_TRUE(writer.write(image));
    bool written = false;
    for (const Call &call : recorder().calls) {
        EXPECT_FALSE(written && call.asked == Asked::SetOption);
        written = written || call.asked == Asked::Write;
    }
    EXPECT_TRUE(written);
}

TEST_F(WriterOptions, OnlySupportedOnesAreHandedOver)
{
    for (const int option : kWriteOptions) {
        recorder().calls.clear();
        recorder().first.options = {option};
        writer.setDevice(&buffer);
        writer.setDescription(QStringLiteral("description"));
        writer.setSubType("sub");
        writer.setTransformation(Handler::TransformationMirror);

        EXPECT_TRUE(writer.write(image));

        if (option == Handler::ImageTransformation)
            EXPECT_TRUE(givenOptions().empty());
        else
            EXPECT_THAT(givenOptions(), ElementsAre(option));
    }
    recorder().calls.clear();
    recorder().first.options = {};
    EXPECT_TRUE(writer.write(image));
    EXPECT_TRUE(givenOptions().empty());
}

TEST_F(WriterOptions, TransformationIsNeverHandedOverWhateverItIs)
{
    for (int t = 0; t < 8; ++t) {
        writer.setTransformation(Handler::Transformations(t));
        EXPECT_TRUE(writer.write(image));
        EXPECT_FALSE(given(Handler::ImageTransformation).isValid());
    }
}

TEST_F(WriterOptions, SizeOnlyModeHandsOverTheSame)
{
    writer.setGamma(10);
    writer.setQuality(12);
    EXPECT_TRUE(writer.write(image));
    EXPECT_THAT(givenOptions(),
                ElementsAre(Handler::Quality, Handler::CompressionRatio, Handler::Gamma,
                            Handler::OptimizedWrite, Handler::ProgressiveScanWrite));
}

TEST_F(WriterOptions, GettersAskTheHandlerThatThereIs)
{
    writer.setQuality(12);
    writer.setGamma(2.5F);
    recorder().first.values = {{Handler::Quality, 91},
                               {Handler::CompressionRatio, 92},
                               {Handler::Gamma, 93.5F},
                               {Handler::Description, QStringLiteral("the handler's")},
                               {Handler::SubType, QByteArray("its type")},
                               {Handler::OptimizedWrite, true},
                               {Handler::ProgressiveScanWrite, true}};
    EXPECT_EQ(writer.quality(), 12);
    EXPECT_EQ(writer.gamma(), 2.5F);

    ASSERT_TRUE(writer.canWrite()); // makes the handler

    EXPECT_EQ(writer.quality(), 91);
    EXPECT_EQ(writer.compression(), 92);
    EXPECT_EQ(writer.gamma(), 93.5F);
    EXPECT_EQ(writer.description(), QStringLiteral("the handler's"));
    EXPECT_EQ(writer.subType(), "its type");
    EXPECT_TRUE(writer.optimizedWrite());
    EXPECT_TRUE(writer.progressiveScanWrite());
}

TEST_F(WriterOptions, GettersOfUnsupportedOptionsReturnWhatWasSet)
{
    recorder().first.options = {};
    recorder().first.values = {{Handler::Quality, 91},
                               {Handler::CompressionRatio, 92},
                               {Handler::Description, QStringLiteral("the handler's")},
                               {Handler::SubType, QByteArray("its type")},
                               {Handler::OptimizedWrite, true},
                               {Handler::ProgressiveScanWrite, true}};
    writer.setQuality(12);
    writer.setDescription(QStringLiteral("description"));
    EXPECT_TRUE(writer.write(image));

    EXPECT_EQ(writer.quality(), 12);
    EXPECT_EQ(writer.compression(), -1);
    EXPECT_EQ(writer.description(), QStringLiteral("description"));
    EXPECT_EQ(writer.subType(), QByteArray());
    EXPECT_FALSE(writer.optimizedWrite());
    EXPECT_FALSE(writer.progressiveScanWrite());
}

// A handler may answer the size-only mode without claiming to know gamma.
TEST_F(WriterOptions, GammaIsTheHandlersWordEvenWhenItIsNotSupported)
{
    recorder().first.options = {};
    recorder().first.values = {{Handler::Gamma, 4096.0F}};
    writer.setGamma(10);
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(writer.gamma(), 4096.0F);
}

TEST_F(WriterOptions, SettingsSurviveAnotherDevice)
{
    QBuffer other;
    writer.setQuality(12);
    writer.setDescription(QStringLiteral("description"));
    EXPECT_TRUE(writer.write(image));
    writer.setDevice(&other);
    EXPECT_EQ(writer.quality(), 12);
    EXPECT_EQ(writer.format(), "png");

    recorder().calls.clear();
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(given(Handler::Quality), QVariant(12));
    EXPECT_EQ(given(Handler::Description), QVariant(QStringLiteral("description")));
}

TEST_F(WriterOptions, SupportsOptionIsTheHandlersWord)
{
    recorder().first.options = {Handler::Gamma, Handler::ImageTransformation};
    EXPECT_TRUE(writer.supportsOption(Handler::Gamma));
    EXPECT_TRUE(writer.supportsOption(Handler::ImageTransformation));
    EXPECT_FALSE(writer.supportsOption(Handler::Quality));

    QImageWriterEx unknown(&buffer, "unknown");
    EXPECT_FALSE(unknown.supportsOption(Handler::Gamma));
    EXPECT_FALSE(QImageWriterEx().supportsOption(Handler::Gamma));
}

TEST_F(WriterTranslations, TextsStandInTheWritersContext)
{
    QImageWriterEx none;
    EXPECT_EQ(none.errorString(), QStringLiteral("[Unknown error]"));

    EXPECT_FALSE(none.write(image));
    EXPECT_EQ(none.errorString(), QStringLiteral("[Device is not set]"));

    EXPECT_FALSE(none.write(Vellum()));
    EXPECT_EQ(none.errorString(), QStringLiteral("[Image is empty]"));

    QImageWriterEx unopened(path(QStringLiteral("no folder/a.png")));
    EXPECT_FALSE(unopened.write(image));
    QFile file(unopened.fileName());
    EXPECT_FALSE(file.open(QIODevice::WriteOnly));
    EXPECT_EQ(unopened.errorString(),
              QStringLiteral("[Cannot open device for writing: %1]").arg(file.errorString()));

    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    QImageWriterEx unwritable(&readOnly, "png");
    EXPECT_FALSE(unwritable.write(image));
    EXPECT_EQ(unwritable.errorString(), QStringLiteral("[Device not writable]"));

    QImageWriterEx unknown(&buffer, "unknown");
    EXPECT_FALSE(unknown.write(image));
    EXPECT_EQ(unknown.errorString(), QStringLiteral("[Unsupported image format]"));
    unknown.setGamma(10);
    EXPECT_FALSE(unknown.write(image));
    EXPECT_EQ(unknown.errorString(), QStringLiteral("[Unsupported image format]"));
}
