// Tests of reading and writing through format plugins, with plugins that keep a record.
#pragma once

#include <vellum/vellum.h>

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <plugins/recording/recorder.h>

namespace vellum::test {

/// Starts every test with an empty record, idle plugins and a folder of its own. The program sees
/// no other format plugins than the two, so all its tests must be of such fixtures.
class WithRecordingPlugins : public testing::Test
{
protected:
    WithRecordingPlugins()
    {
        QCoreApplication::setLibraryPaths({QStringLiteral(VELLUM_TEST_PLUGINS)});
        recorder() = Recorder();
    }
    ~WithRecordingPlugins() override { recorder() = Recorder(); } // forgets what tests hung on it

    QString path(const QString &name) const { return folder.filePath(name); }

    QString makeFile(const QString &name, const QByteArray &content) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(content);
        return file.fileName();
    }

    /// A file that the plugins read as \a format.
    QString testImage(const QByteArray &format, const QString &name = QStringLiteral("image")) const
    {
        return makeFile(name, QByteArray(kTestImage) + ' ' + format + '\n');
    }

    QTemporaryDir folder;
};

inline QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

/// The recorded calls of one kind, in order.
inline std::vector<Call> callsOf(Asked asked)
{
    std::vector<Call> calls;
    for (const Call &call : recorder().calls) {
        if (call.asked == asked)
            calls.push_back(call);
    }
    return calls;
}

/// The only recorded call of its kind; an empty one, and a failure, when there is another number.
inline Call onlyCall(Asked asked)
{
    const std::vector<Call> calls = callsOf(asked);
    EXPECT_EQ(calls.size(), 1U);
    return calls.size() == 1 ? calls[0] : Call();
}

/// A picture as a plugin gives it.
struct Picture
{
    Vellum pixels; ///< plain
    int transformation = 0; ///< QImageIOHandler::Transformations
    QByteArray profile = QByteArray(); ///< set on a Vellum unless empty
    std::optional<bool> cmyk = std::nullopt; ///< set on a Vellum when there is one
};

/// Reads \a picture as a plugin should: into the storage that is there when it fits, row by row.
inline bool readPicture(const Picture &picture, QImage *image)
{
    const Vellum &pixels = picture.pixels;
    Vellum *const vellum = Vellum::getVellum(image);
    if (image->size() != pixels.size() || image->format() != pixels.format())
        *image = QImage(pixels.width(), pixels.height(), pixels.format());
    if (pixels.colorCount() > 0 || pixels.format() == QImage::Format_Indexed8) {
        if (vellum)
            vellum->setColorTable(pixels.colorTable());
        else
            image->setColorTable(pixels.colorTable());
    }
    if (vellum && !picture.profile.isEmpty())
        vellum->setIccProfile(picture.profile);
    if (vellum && picture.cmyk)
        vellum->setOrgFileCmyk(*picture.cmyk);
    for (int y = 0; y < pixels.height(); ++y) {
        uchar *const row = image_scanLine(vellum, image, y);
        if (!row)
            return false;
        std::memcpy(row, pixels.scanLineEx(y), size_t(pixels.bytesPerLine()));
    }
    return true;
}

/// Makes the first plugin read \a picture, and say beforehand all that it can.
inline void provide(const Picture &picture)
{
    Behaviour &plugin = recorder().first;
    plugin.options = {QImageIOHandler::Size, QImageIOHandler::ImageFormat,
                      QImageIOHandler::ImageTransformation};
    plugin.values = {{QImageIOHandler::Size, picture.pixels.size()},
                     {QImageIOHandler::ImageFormat, int(picture.pixels.format())},
                     {QImageIOHandler::ImageTransformation, picture.transformation}};
    plugin.read = [picture](QImage *image) { return readPicture(picture, image); };
}

/// The formats that are read directly into the image.
constexpr const char *kDirectFormats[] = {"bmp", "jpg", "jpeg", "png", "psd", "tif", "tiff"};

} // namespace vellum::test
