// Vellum::load: a file into an image, by way of QImageReader and the format plugins.

#include <vellum/color/lcmsmanager.h>
#include <vellum/convert/convert.h>
#include <vellum/image/heldattachments_p.h>
#include <vellum/image/vellum.h>
#include <vellum/io/graypalette_p.h>
#include <vellum/io/hrlehandler.h>

#include <QDebug>
#include <QImageReader>
#include <QTime>

#include <algorithm>

namespace {

/// Most pixels of a file, 45876 squared.
constexpr qint32 kMostPixels = 2104607376;

/// Formats whose plugins may fill the image itself; the others' pictures are read beside it.
constexpr const char *kDirectFormats[] = {"bmp", "jpg", "jpeg", "png", "psd", "tif", "tiff"};

bool isDirect(const QImageReader &reader)
{
    const QByteArray format = reader.format();
    return std::find(std::begin(kDirectFormats), std::end(kDirectFormats), format) !=
        std::end(kDirectFormats) &&
        reader.supportsOption(QImageIOHandler::ImageFormat);
}

/// Width times height in 32 bits, wrapped: larger products than those pass the test by design.
bool hasTooManyPixels(const QSize &size)
{
    return qint32(quint32(size.width()) * quint32(size.height())) > kMostPixels;
}

void trace(const char *message, const QString &fileName)
{
    qDebug() << QTime::currentTime().toString(QStringLiteral("hh:mm:ss.zzz")) << message
             << fileName;
}

bool fail(const char *message, const QString &fileName)
{
    trace(message, fileName);
    return false;
}

/// Replaces \a image by \a picture, with what the plugin has attached to it: an assignment would
/// forget that without releasing it.
void replace(Vellum &image, const Vellum &picture)
{
    vellum::image::HeldAttachments attachments(image);
    image = picture;
    attachments.giveTo(image);
}

/// Turns a big image as the reader would have turned a plain one.
void turnUpright(Vellum &image, QImageIOHandler::Transformations transformation)
{
    if (transformation == QImageIOHandler::TransformationNone)
        return;
    if (transformation == QImageIOHandler::TransformationRotate270) {
        replace(image, image.rotated(270, 0));
        return;
    }
    replace(image,
            image.mirrored(transformation.testFlag(QImageIOHandler::TransformationMirror),
                           transformation.testFlag(QImageIOHandler::TransformationFlip)));
    if (transformation.testFlag(QImageIOHandler::TransformationRotate90))
        replace(image, image.rotated(90, 0));
}

void convertToSrgb(Vellum &image)
{
    QByteArray profile = image.getIccProfile();
    if (!image.isOrgFileCmyk() && !profile.isEmpty())
        CVlLcmsManager().doVellumRgbTransform(image, profile);
}

} // namespace

bool Vellum::load(const QString &fileName, const char * /*format*/)
{
    trace("Vellum::load ", fileName);
    if (fileName.isEmpty())
        return fail("Vellum::load error 1", fileName);

    if (fileName.endsWith(QLatin1String(".hrle"))) {
        Vellum picture;
        const bool read = HrleHandler().readFile(picture, fileName);
        *this = picture; // null when nothing could be read
        return read || fail("Vellum::load error 2", fileName);
    }

    QImageReader reader;
    reader.setFileName(fileName);
    if (hasTooManyPixels(reader.size()))
        return fail("Vellum::load error 3", fileName);
    return isDirect(reader) ? loadDirectly(reader) : loadPlain(reader);
}

/// Reads into the image's own rows, plain or big.
bool Vellum::loadDirectly(QImageReader &reader)
{
    const QString fileName = reader.fileName();
    const QImage::Format fileFormat = reader.imageFormat();
    if (fileFormat == QImage::Format_Invalid)
        return fail("Vellum::load error 5", fileName);

    // Neither way touches the progress callback: it outlives the picture.
    const QSize fileSize = reader.size();
    if (isNull() || size() != fileSize || format() != fileFormat) {
        if (!create(*this, fileSize.width(), fileSize.height(), fileFormat)) {
            qDebug() << "Vellum::load error, " << fileName;
            return false;
        }
    }

    const bool big = isBigImage();
    if (big)
        partMetadata(); // reader and plugin set some through QImage, which would copy the base
    reader.setAutoTransform(!big);
    if (!reader.read(this))
        return fail("Vellum::load error 7", fileName);
    if (big)
        turnUpright(*this, reader.transformation());

    // By what the reader announced: callers rely on Indexed8 files being looked at, not on what a
    // plugin made of them.
    if (fileFormat == Format_Indexed8)
        vellum::io::makeGrayIfPaletteIs(*this);
    else if (fileFormat == Format_RGB32 || fileFormat == Format_ARGB32_Premultiplied)
        convert32BitsImageToARGB32(*this, true);
    if (depth() > 32)
        replace(*this, convertToFormat(Format_ARGB32));
    convertToSrgb(*this);
    return true;
}

/// Reads a plain picture of any other kind.
bool Vellum::loadPlain(QImageReader &reader)
{
    QImage picture;
    reader.setAutoTransform(true);
    if (!reader.read(&picture))
        return fail("Vellum::load error 4", reader.fileName());
    *this = picture;
    // Here colours come first, and premultiplied pixels, which have none to convert, are
    // relabelled.
    convertToSrgb(*this);
    convert32BitsImageToARGB32(*this, true);
    return true;
}
