// QImageWriterEx at work: its errors, what becomes of the file, and the three ranges of gamma.

#include <QBuffer>

#include <gmock/gmock.h>

#include <limits>
#include <memory>
#include <support/devices.h>
#include <support/images.h>
#include <support/savedimages.h>

using namespace vellum::test;
using testing::ElementsAre;

namespace {

class Writer : public WithRecordingPlugins, public testing::WithParamInterface<Storage>
{
protected:
    Writer() { recorder().first = writing({"png", "jpg"}); }

    Vellum image = makeNoise(7, 5, QImage::Format_ARGB32, GetParam());
    QString name = path(QStringLiteral("picture.png"));
    QString unknown = path(QStringLiteral("picture.unknown"));
};

INSTANTIATE_TEST_SUITE_P(Storages, Writer, testing::ValuesIn(kStorages),
                         testing::PrintToStringParamName());

class WriterOf : public WithRecordingPlugins
{
protected:
    WriterOf() { recorder().first = writing({"png", "jpg"}); }

    Vellum image = makeNoise(7, 5, QImage::Format_ARGB32, Storage::Plain);
};

void expectError(const QImageWriterEx &writer, QImageWriter::ImageWriterError error,
                 const QString &text)
{
    EXPECT_EQ(writer.error(), error);
    EXPECT_EQ(writer.errorString(), text);
}

const QString kUnsupported = QStringLiteral("Unsupported image format");

/// \a name cannot be opened for writing; what Qt says of it.
QString openError(const QString &name)
{
    QFile file(name);
    EXPECT_FALSE(file.open(QIODevice::WriteOnly));
    return QStringLiteral("Cannot open device for writing: ") + file.errorString();
}

} // namespace

TEST_P(Writer, NewOneHasNoError)
{
    expectError(QImageWriterEx(), QImageWriter::UnknownError, QStringLiteral("Unknown error"));
    expectError(QImageWriterEx(name), QImageWriter::UnknownError, QStringLiteral("Unknown error"));
    EXPECT_TRUE(recorder().calls.empty());
    EXPECT_FALSE(QFile::exists(name));
}

TEST_P(Writer, WritesToAFileOfThatName)
{
    QImageWriterEx writer(name);
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(onlyCall(Asked::Write).image, &image);
    EXPECT_EQ(onlyCall(Asked::Write).isBig, GetParam() == Storage::Big);
    EXPECT_EQ(contentOf(name), "written");
    expectError(writer, QImageWriter::UnknownError, QStringLiteral("Unknown error"));
}

TEST_P(Writer, WritesToADeviceThatIsOpenOrNot)
{
    QBuffer closed;
    EXPECT_TRUE(QImageWriterEx(&closed, "png").write(image));
    EXPECT_EQ(closed.data(), "written");
    EXPECT_TRUE(closed.isOpen());

    QBuffer open;
    open.open(QIODevice::ReadWrite);
    open.write("before ");
    EXPECT_TRUE(QImageWriterEx(&open, "png").write(image));
    EXPECT_EQ(open.data(), "before written");
}

TEST_P(Writer, NullImageIsRefusedBeforeAnythingElse)
{
    for (const float gamma : {0.0F, 10.0F}) {
        QImageWriterEx writer(unknown);
        writer.setGamma(gamma);
        EXPECT_FALSE(writer.write(Vellum()));
        expectError(writer, QImageWriter::InvalidImageError, QStringLiteral("Image is empty"));

        QImageWriterEx withoutDevice;
        EXPECT_FALSE(withoutDevice.write(Vellum()));
        expectError(withoutDevice, QImageWriter::InvalidImageError,
                    QStringLiteral("Image is empty"));
    }
    EXPECT_TRUE(recorder().calls.empty());
    EXPECT_FALSE(QFile::exists(unknown));
}

TEST_P(Writer, MissingDeviceIsAnError)
{
    for (const char *format : {"", "png", "unknown"}) {
        QImageWriterEx writer;
        writer.setFormat(format);
        EXPECT_FALSE(writer.write(image));
        expectError(writer, QImageWriter::DeviceError, QStringLiteral("Device is not set"));
        EXPECT_FALSE(writer.canWrite());
        expectError(writer, QImageWriter::DeviceError, QStringLiteral("Device is not set"));
    }
    EXPECT_TRUE(recorder().calls.empty());
}

TEST_P(Writer, DeviceThatCannotBeOpenedIsAnError)
{
    for (const QString &file : {path(QStringLiteral("no folder/a.png")), folder.path()}) {
        QImageWriterEx writer(file, "png");
        EXPECT_FALSE(writer.write(image));
        expectError(writer, QImageWriter::DeviceError, openError(file));

        QImageWriterEx asked(file, "png");
        EXPECT_FALSE(asked.canWrite());
        expectError(asked, QImageWriter::DeviceError, openError(file));
    }
    EXPECT_TRUE(recorder().calls.empty());
    EXPECT_TRUE(QFile::exists(folder.path()));
}

TEST_P(Writer, DeviceForReadingIsAnError)
{
    QBuffer buffer;
    buffer.setData("as it was");
    buffer.open(QIODevice::ReadOnly);
    QImageWriterEx writer(&buffer, "png");
    EXPECT_FALSE(writer.write(image));
    expectError(writer, QImageWriter::DeviceError, QStringLiteral("Device not writable"));
    EXPECT_EQ(buffer.data(), "as it was");

    QFile file(makeFile(QStringLiteral("there.png"), "as it was"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QImageWriterEx fileWriter(&file, "png");
    EXPECT_FALSE(fileWriter.write(image));
    expectError(fileWriter, QImageWriter::DeviceError, QStringLiteral("Device not writable"));
    EXPECT_EQ(contentOf(file.fileName()), "as it was");
    EXPECT_TRUE(recorder().calls.empty());
}

TEST_P(Writer, FormatThatNoPluginWritesIsAnErrorAndLeavesNoFile)
{
    QImageWriterEx writer(unknown);
    EXPECT_FALSE(writer.write(image));
    expectError(writer, QImageWriter::UnsupportedFormatError, kUnsupported);
    EXPECT_FALSE(QFile::exists(unknown));

    // Formats that Qt itself writes are no exception.
    for (const char *format : {"bmp", "ppm", "xpm"}) {
        QImageWriterEx builtIn(unknown, format);
        EXPECT_FALSE(builtIn.write(image));
        expectError(builtIn, QImageWriter::UnsupportedFormatError, kUnsupported);
        EXPECT_FALSE(QFile::exists(unknown));
    }
}

TEST_P(Writer, FileOfTheCallerIsRemovedOnlyWhenTheWriterMadeIt)
{
    QFile fresh(unknown);
    EXPECT_FALSE(QImageWriterEx(&fresh, QByteArray()).write(image));
    EXPECT_FALSE(QFile::exists(unknown));

    QFile opened(unknown);
    ASSERT_TRUE(opened.open(QIODevice::WriteOnly));
    EXPECT_FALSE(QImageWriterEx(&opened, QByteArray()).write(image));
    EXPECT_TRUE(QFile::exists(unknown));

    ASSERT_TRUE(QFile::remove(unknown)); // no name any more, but still a file
    EXPECT_FALSE(QImageWriterEx(&opened, QByteArray()).write(image));
    EXPECT_TRUE(opened.isOpen());

    makeFile(QStringLiteral("picture.unknown"), "");
    EXPECT_FALSE(QImageWriterEx(unknown).write(image));
    EXPECT_TRUE(QFile::exists(unknown));
}

TEST_P(Writer, CanWriteRemovesAFileThatItMadeInVain)
{
    QImageWriterEx writer(unknown);
    EXPECT_FALSE(writer.canWrite());
    expectError(writer, QImageWriter::UnsupportedFormatError, kUnsupported);
    EXPECT_FALSE(QFile::exists(unknown));

    makeFile(QStringLiteral("picture.unknown"), "");
    EXPECT_FALSE(QImageWriterEx(unknown).canWrite());
    EXPECT_TRUE(QFile::exists(unknown));
}

TEST_P(Writer, CanWriteLeavesTheFileForTheWriting)
{
    QImageWriterEx writer(name, "png");
    EXPECT_TRUE(writer.canWrite());
    EXPECT_TRUE(writer.canWrite());
    EXPECT_TRUE(QFile::exists(name));
    EXPECT_TRUE(callsOf(Asked::Write).empty());
    EXPECT_TRUE(callsOf(Asked::SetOption).empty());

    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(contentOf(name), "written");
    EXPECT_EQ(callsOf(Asked::Create).size(), 1U);
}

TEST_P(Writer, FailingPluginSetsNoErrorAndItsFileStays)
{
    recorder().first.write = [](const QImage &, QIODevice *device) {
        device->write("begun");
        return false;
    };
    {
        QImageWriterEx writer(name);
        EXPECT_FALSE(writer.write(image));
        expectError(writer, QImageWriter::UnknownError, QStringLiteral("Unknown error"));
    }
    EXPECT_EQ(contentOf(name), "begun");
}

TEST_P(Writer, FileIsFlushedAfterASuccess)
{
    QImageWriterEx writer(name);
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(contentOf(name), "written"); // while the writer has it open

    QFile file(path(QStringLiteral("of the caller")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_TRUE(QImageWriterEx(&file, "png").write(image));
    EXPECT_EQ(contentOf(file.fileName()), "written");
}

TEST_P(Writer, FileIsNotFlushedAfterAFailure)
{
    recorder().first.write = [](const QImage &, QIODevice *device) {
        device->write("begun");
        return false;
    };
    QImageWriterEx writer(name);
    EXPECT_FALSE(writer.write(image));
    EXPECT_EQ(contentOf(name), "");
}

// Above 9 the device is left alone; from 10 on it is not even flushed.
TEST_P(Writer, GammaDecidesOverOpeningAndFlushing)
{
    struct Range
    {
        float gamma;
        bool opens;
        bool flushes;
    };
    const Range ranges[] = {
        {-1.0F, true, true},
        {0.0F, true, true},
        {2.2F, true, true},
        {9.0F, true, true},
        {std::nextafter(9.0F, 10.0F), false, true},
        {9.5F, false, true},
        {std::nextafter(10.0F, 9.0F), false, true},
        {10.0F, false, false},
        {10.5F, false, false},
        {std::numeric_limits<float>::infinity(), false, false},
    };
    for (const Range &range : ranges) {
        recorder().calls.clear();
        QFile::remove(name);
        QImageWriterEx unopened(name);
        unopened.setGamma(range.gamma);
        EXPECT_TRUE(unopened.write(image)) << range.gamma;
        EXPECT_EQ(bool(onlyCall(Asked::Write).mode & QIODevice::WriteOnly), range.opens)
            << range.gamma;
        EXPECT_EQ(QFile::exists(name), range.opens) << range.gamma;
        EXPECT_EQ(given(QImageIOHandler::Gamma).toFloat(), range.gamma);

        QFile open(path(QStringLiteral("open.png")));
        ASSERT_TRUE(open.open(QIODevice::WriteOnly));
        QImageWriterEx writer(&open, QByteArray());
        writer.setGamma(range.gamma);
        EXPECT_TRUE(writer.write(image)) << range.gamma;
        EXPECT_EQ(contentOf(open.fileName()), range.flushes ? "written" : "") << range.gamma;
    }
}

TEST_P(Writer, SizeOnlyModeNeedsAPluginButNoDevice)
{
    QImageWriterEx withoutDevice;
    withoutDevice.setFormat("png");
    withoutDevice.setGamma(10);
    EXPECT_TRUE(withoutDevice.write(image));
    EXPECT_EQ(callsOf(Asked::Capabilities)[0].device, nullptr);
    EXPECT_EQ(onlyCall(Asked::Write).device, nullptr);

    QImageWriterEx writer(unknown);
    writer.setGamma(10);
    EXPECT_FALSE(writer.write(image));
    expectError(writer, QImageWriter::UnsupportedFormatError, kUnsupported);
    EXPECT_FALSE(QFile::exists(unknown));

    QImageWriterEx nothing;
    nothing.setGamma(10);
    EXPECT_FALSE(nothing.write(image));
    expectError(nothing, QImageWriter::UnsupportedFormatError, kUnsupported);

    QImageWriterEx unopened(path(QStringLiteral("no folder/a.png")));
    unopened.setGamma(9.5F);
    EXPECT_TRUE(unopened.write(image));

    QBuffer readOnly;
    readOnly.open(QIODevice::ReadOnly);
    QImageWriterEx buffered(&readOnly, "png");
    buffered.setGamma(9.5F);
    EXPECT_TRUE(buffered.write(image));
}

TEST_P(Writer, SizeOnlyModeLeavesAnExistingFileAlone)
{
    makeFile(QStringLiteral("picture.png"), "as it was");
    for (const float gamma : {9.5F, 10.0F}) {
        QImageWriterEx writer(name);
        writer.setGamma(gamma);
        EXPECT_TRUE(writer.write(image));
        EXPECT_EQ(contentOf(name), "as it was");
    }
}

TEST_P(Writer, FullDeviceIsThePluginsAffair)
{
    LimitedDevice device(3);
    QImageWriterEx writer(&device, "png");
    recorder().first.write = [](const QImage &, QIODevice *out) {
        return out->write("written") == 7;
    };
    EXPECT_FALSE(writer.write(image));
    expectError(writer, QImageWriter::UnknownError, QStringLiteral("Unknown error"));
}

TEST_P(Writer, CanWriteTwoImagesWithOneHandler)
{
    QBuffer buffer;
    QImageWriterEx writer(&buffer, "png");
    writer.setQuality(40);
    EXPECT_TRUE(writer.write(image));
    writer.setQuality(41);
    EXPECT_TRUE(writer.write(Vellum(3, 3, QImage::Format_RGB32)));

    EXPECT_EQ(buffer.data(), "writtenwritten");
    EXPECT_EQ(callsOf(Asked::Create).size(), 1U);
    EXPECT_EQ(callsOf(Asked::Write).size(), 2U);
    EXPECT_EQ(given(QImageIOHandler::Quality), QVariant(41));
}

TEST_F(WriterOf, OtherDeviceGetsAHandlerOfItsOwn)
{
    QBuffer first;
    QBuffer second;
    QImageWriterEx writer(&first, "png");
    EXPECT_TRUE(writer.write(image));

    writer.setDevice(&second);
    EXPECT_EQ(callsOf(Asked::Delete).size(), 1U);
    EXPECT_TRUE(writer.write(image));

    EXPECT_EQ(first.data(), "written");
    EXPECT_EQ(second.data(), "written");
    EXPECT_EQ(callsOf(Asked::Create).size(), 2U);
}

TEST_F(WriterOf, OtherFileNameIsAnotherFileOfAnotherFormat)
{
    QImageWriterEx writer(path(QStringLiteral("a.png")));
    EXPECT_TRUE(writer.write(image));
    writer.setFileName(path(QStringLiteral("b.jpg")));
    EXPECT_EQ(writer.fileName(), path(QStringLiteral("b.jpg")));
    EXPECT_TRUE(writer.write(image));

    const std::vector<Call> writes = callsOf(Asked::Write);
    ASSERT_EQ(writes.size(), 2U);
    EXPECT_EQ(writes[0].format, "png");
    EXPECT_EQ(writes[1].format, "jpg");
    EXPECT_EQ(contentOf(path(QStringLiteral("a.png"))), "written");
    EXPECT_EQ(contentOf(path(QStringLiteral("b.jpg"))), "written");
}

TEST_F(WriterOf, WriterRecoversFromAFailure)
{
    QImageWriterEx writer(path(QStringLiteral("a.unknown")));
    EXPECT_FALSE(writer.write(image));
    writer.setFileName(path(QStringLiteral("a.png")));
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(contentOf(path(QStringLiteral("a.png"))), "written");

    QImageWriterEx again(path(QStringLiteral("b.unknown")));
    EXPECT_FALSE(again.write(image));
    EXPECT_FALSE(QFile::exists(path(QStringLiteral("b.unknown"))));
    again.setFormat("png");
    EXPECT_TRUE(again.write(image));
    EXPECT_EQ(contentOf(path(QStringLiteral("b.unknown"))), "written");
}

TEST_F(WriterOf, OwnsOnlyTheFilesItOpenedByName)
{
    QPointer<QIODevice> owned;
    {
        QImageWriterEx writer(path(QStringLiteral("a.png")));
        owned = writer.device();
        EXPECT_TRUE(owned);
        EXPECT_TRUE(qobject_cast<QFile *>(owned));
        writer.setFileName(path(QStringLiteral("b.png")));
        EXPECT_FALSE(owned);
        owned = writer.device();
    }
    EXPECT_FALSE(owned);

    const auto buffer = std::make_unique<QBuffer>();
    QPointer<QIODevice> lent = buffer.get();
    {
        QImageWriterEx writer(path(QStringLiteral("a.png")));
        owned = writer.device();
        writer.setDevice(buffer.get());
        EXPECT_FALSE(owned);
        EXPECT_EQ(writer.device(), buffer.get());
        writer.setDevice(nullptr);
        EXPECT_EQ(writer.device(), nullptr);
        writer.setDevice(buffer.get());
    }
    EXPECT_TRUE(lent);
}

TEST_F(WriterOf, OwnFileMayBeSetAgain)
{
    QImageWriterEx writer(path(QStringLiteral("a.png")));
    writer.setDevice(writer.device());
    EXPECT_EQ(writer.fileName(), path(QStringLiteral("a.png")));
    EXPECT_TRUE(writer.write(image));
    EXPECT_EQ(contentOf(path(QStringLiteral("a.png"))), "written");
}

TEST_F(WriterOf, HandlersAreDeletedWithTheWriter)
{
    {
        QBuffer buffer;
        QImageWriterEx writer(&buffer, "png");
        EXPECT_TRUE(writer.write(image));
        EXPECT_TRUE(callsOf(Asked::Delete).empty());
    }
    EXPECT_EQ(callsOf(Asked::Delete).size(), 1U);
}
