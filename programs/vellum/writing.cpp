#include "writing.h"

#include "cancel.h"
#include "failure.h"
#include "messages.h"
#include "outputfile.h"
#include "progress.h"
#include "reading.h"
#include "rows.h"

#include <QFileInfo>
#include <QImageWriter>

#include <cstdlib>
#include <cstring>

namespace vellum::tool {

QByteArray outputKind(const QString &fileName)
{
    if (isHrleName(fileName))
        return {};
    const QFileInfo info(fileName);
    if (info.isDir())
        throw Failure(OutputError, fileName, QStringLiteral("is a folder"));
    const QList<QByteArray> known = QImageWriter::supportedImageFormats();
    const QByteArray kind = info.suffix().toLower().toLatin1();
    if (!known.contains(kind)) {
        throw Failure(OutputError, fileName,
                      QStringLiteral("unknown kind of file, known are .hrle .") +
                          QString::fromLatin1(known.join(" .")));
    }
    return kind;
}

void checkFits(const QByteArray &kind, const QSize &size, const QString &fileName)
{
    const QString fault = kind.isEmpty() ? hrleSizeFault(size) : QString();
    if (!fault.isEmpty())
        throw Failure(OutputError, fileName, fault);
}

Vellum prepared(const Vellum &picture, const QByteArray &kind, Storage storage, Progress &progress,
                OutputFile &output)
{
    const QImage::Format format = kind.isEmpty() ? QImage::Format_Grayscale8 : picture.format();
    Vellum result = arranged(picture, format, storage, progress);
    if (result.isNull())
        output.fail(QStringLiteral("not enough memory for the picture"));
    return result;
}

SaveOptions saveOptions(const WriteWishes &wishes, const QByteArray &kind, Progress &progress)
{
    SaveOptions options;
    options.format = kind.isEmpty() ? QByteArrayLiteral("hrle") : kind;
    options.colors = PixelColors::FileOwn;
    options.cmyk = !wishes.press.isEmpty();
    options.profile = wishes.press;
    options.conversion = wishes.conversion;
    options.quality = wishes.encoding.quality;
    options.compression = wishes.encoding.compression;
    options.progressive = wishes.encoding.progressive;
    options.subType = QByteArray::fromStdString(wishes.encoding.subType);
    options.cancel = &cancelFlag();
    options.progress = [&progress](int percent) {
        progress.reportPart(percent, 100);
        return true;
    };
    return options;
}

void writePicture(Vellum &picture, const WriteWishes &wishes, const QByteArray &kind,
                  Progress &progress, OutputFile &output)
{
    const WarningLog log;
    const auto exifBytes = size_t(wishes.exif.size());
    if (exifBytes > 0) {
        if (void *const copy = std::malloc(exifBytes)) {
            std::memcpy(copy, wishes.exif.constData(), exifBytes);
            picture.setExifData(static_cast<char *>(copy), wishes.exif.size());
        }
    }
    const SaveResult result =
        saveImage(picture, *output.device(), saveOptions(wishes, kind, progress));
    takeExif(picture);
    if (!result)
        output.fail(result);
}

QString described(const Vellum &picture)
{
    return QStringLiteral("%1 x %2 %3, %4")
        .arg(picture.width())
        .arg(picture.height())
        .arg(formatName(picture.format()),
             QLatin1String(storageName(picture.isBigImage() ? Storage::Big : Storage::Plain)));
}

} // namespace vellum::tool
