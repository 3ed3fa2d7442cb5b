#include <vellum/image/vellum.h>
#include <vellum/io/imageplugins_p.h>
#include <vellum/io/imagewriterex.h>
#include <vellum/io/writehandler_p.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QVariant>

#include <algorithm>

using vellum::io::ImagePlugin;
using vellum::io::imagePlugins;
using vellum::io::makeWritingHandler;
using vellum::io::passSettings;
using vellum::io::WriteSettings;

namespace {

/// Above this, only the size of the file is asked for, and the device is left alone.
constexpr float kGreatestGamma = 9.0F;
/// From this on, the device is not flushed either. Callers rely on both limits.
constexpr float kSizeOnlyGamma = 10.0F;

struct SimpleFormat
{
    const char *key;
    const char *mimeSubtype;
};

constexpr SimpleFormat kSimpleFormats[] = {
    {"png", "png"},
    {"bmp", "bmp"},
    {"ppm", "x-portable-pixmap"},
    {"pgm", "x-portable-graymap"},
    {"pbm", "x-portable-bitmap"},
    {"xbm", "x-xbitmap"},
    {"xpm", "x-xpixmap"},
};

const QByteArray kMimePrefix = QByteArrayLiteral("image/");

QByteArray fullMimeType(const QByteArray &type)
{
    return type.startsWith(kMimePrefix) ? type : kMimePrefix + type;
}

QList<QByteArray> sortedOnce(QList<QByteArray> names)
{
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

QByteArray suffixOf(QIODevice *device)
{
    const auto *const file = qobject_cast<QFile *>(device);
    return file ? QFileInfo(file->fileName()).suffix().toLower().toLatin1() : QByteArray();
}

std::unique_ptr<QImageIOHandler> createHandler(QIODevice *device, const QByteArray &requested)
{
    const QList<ImagePlugin> plugins = imagePlugins();
    std::unique_ptr<QImageIOHandler> handler;
    QByteArray format = requested.toLower();
    if (format.isEmpty()) {
        format = suffixOf(device);
        const QString key = QString::fromLatin1(format);
        for (const ImagePlugin &plugin : plugins) {
            if (!key.isEmpty() && plugin.keys.contains(key)) {
                handler = makeWritingHandler(plugin, device, format);
                break;
            }
        }
    }
    if (!format.isEmpty()) {
        // Asked even when the suffix has found one: the first that can write has precedence.
        for (const ImagePlugin &plugin : plugins) {
            if (auto other = makeWritingHandler(plugin, device, format)) {
                handler = std::move(other);
                break;
            }
        }
    }
    if (handler) {
        handler->setDevice(device);
        handler->setFormat(format);
    }
    return handler;
}

} // namespace

struct QImageWriterEx::Private
{
    Q_DECLARE_TR_FUNCTIONS(QImageWriterEx)

public:
    void setDevice(QIODevice *newDevice, std::unique_ptr<QIODevice> newOwnDevice = nullptr)
    {
        handler.reset(); // it refers to the old device
        device = newDevice;
        if (newDevice != ownDevice.get())
            ownDevice = std::move(newOwnDevice);
    }

    bool fail(QImageWriter::ImageWriterError newError, const QString &newErrorString)
    {
        error = newError;
        errorString = newErrorString;
        return false;
    }

    bool ensureHandler()
    {
        if (!handler)
            handler = createHandler(device, format);
        return handler ||
            fail(QImageWriter::UnsupportedFormatError, tr("Unsupported image format"));
    }

    bool canWrite()
    {
        if (!device)
            return fail(QImageWriter::DeviceError, tr("Device is not set"));
        if (!device->isOpen() && !device->open(QIODevice::WriteOnly)) {
            return fail(QImageWriter::DeviceError,
                        tr("Cannot open device for writing: %1").arg(device->errorString()));
        }
        if (!device->isWritable())
            return fail(QImageWriter::DeviceError, tr("Device not writable"));
        return ensureHandler();
    }

    bool canWriteLeavingNothing()
    {
        auto *const file = qobject_cast<QFile *>(device);
        const bool isNew = file && !file->isOpen() && !file->exists();
        if (canWrite())
            return true;
        if (isNew)
            file->remove();
        return false;
    }

    /// What the handler says of \a option, else \a stored.
    template <typename Value>
    Value reported(QImageIOHandler::ImageOption option, const Value &stored) const
    {
        if (handler && handler->supportsOption(option))
            return handler->option(option).value<Value>();
        return stored;
    }

    QByteArray format;
    QIODevice *device = nullptr;
    std::unique_ptr<QIODevice> ownDevice; // the device, when the writer made it
    std::unique_ptr<QImageIOHandler> handler; // made when first needed; goes before its device
    WriteSettings settings;
    QString text;
    QImageIOHandler::Transformations transformation = QImageIOHandler::TransformationNone;
    QImageWriter::ImageWriterError error = QImageWriter::UnknownError;
    QString errorString = tr("Unknown error");
};

QImageWriterEx::QImageWriterEx() : d(std::make_unique<Private>()) { }

QImageWriterEx::QImageWriterEx(QIODevice *device, const QByteArray &format) : QImageWriterEx()
{
    d->device = device;
    d->format = format;
}

QImageWriterEx::QImageWriterEx(const QString &fileName, const QByteArray &format) : QImageWriterEx()
{
    setFileName(fileName);
    d->format = format;
}

QImageWriterEx::~QImageWriterEx() = default;

void QImageWriterEx::setFormat(const QByteArray &format) { d->format = format; }
QByteArray QImageWriterEx::format() const { return d->format; }

void QImageWriterEx::setDevice(QIODevice *device) { d->setDevice(device); }
QIODevice *QImageWriterEx::device() const { return d->device; }

void QImageWriterEx::setFileName(const QString &fileName)
{
    auto file = std::make_unique<QFile>(fileName);
    QFile *const device = file.get();
    d->setDevice(device, std::move(file));
}

QString QImageWriterEx::fileName() const
{
    const auto *const file = qobject_cast<QFile *>(d->device);
    return file ? file->fileName() : QString();
}

void QImageWriterEx::setQuality(int quality) { d->settings.quality = quality; }
int QImageWriterEx::quality() const
{
    return d->reported(QImageIOHandler::Quality, d->settings.quality);
}

void QImageWriterEx::setCompression(int compression) { d->settings.compression = compression; }
int QImageWriterEx::compression() const
{
    return d->reported(QImageIOHandler::CompressionRatio, d->settings.compression);
}

void QImageWriterEx::setGamma(float gamma) { d->settings.gamma = gamma; }
float QImageWriterEx::gamma() const
{
    // Not only of handlers that claim the option: this is how the size of the file comes back.
    return d->handler ? d->handler->option(QImageIOHandler::Gamma).toFloat() : d->settings.gamma;
}

void QImageWriterEx::setDescription(const QString &description)
{
    d->settings.description = description;
}
QString QImageWriterEx::description() const
{
    return d->reported(QImageIOHandler::Description, d->settings.description);
}

void QImageWriterEx::setSubType(const QByteArray &type) { d->settings.subType = type; }
QByteArray QImageWriterEx::subType() const
{
    return d->reported(QImageIOHandler::SubType, d->settings.subType);
}

void QImageWriterEx::setOptimizedWrite(bool optimize) { d->settings.optimizedWrite = optimize; }
bool QImageWriterEx::optimizedWrite() const
{
    return d->reported(QImageIOHandler::OptimizedWrite, d->settings.optimizedWrite);
}

void QImageWriterEx::setProgressiveScanWrite(bool progressive)
{
    d->settings.progressiveScanWrite = progressive;
}
bool QImageWriterEx::progressiveScanWrite() const
{
    return d->reported(QImageIOHandler::ProgressiveScanWrite, d->settings.progressiveScanWrite);
}

void QImageWriterEx::setTransformation(QImageIOHandler::Transformations transformation)
{
    d->transformation = transformation;
}
QImageIOHandler::Transformations QImageWriterEx::transformation() const
{
    return QImageIOHandler::Transformations(
        d->reported(QImageIOHandler::ImageTransformation, int(d->transformation)));
}

void QImageWriterEx::setText(const QString &text) { d->text = text; }
void QImageWriterEx::setText(const QString &key, const QString &text)
{
    if (!d->text.isEmpty())
        d->text += QLatin1Char('\n');
    d->text += key + QLatin1String(": ") + text;
}
QString QImageWriterEx::text() const { return d->text; }

bool QImageWriterEx::canWrite() const { return d->canWriteLeavingNothing(); }

bool QImageWriterEx::write(const Vellum &image)
{
    if (image.isNull())
        return d->fail(QImageWriter::InvalidImageError, Private::tr("Image is empty"));
    const bool sizeOnly = d->settings.gamma > kGreatestGamma;
    if (!(sizeOnly ? d->ensureHandler() : d->canWriteLeavingNothing()))
        return false;
    passSettings(*d->handler, d->settings);
    if (!d->handler->write(image))
        return false;
    if (d->settings.gamma < kSizeOnlyGamma) {
        if (auto *const file = qobject_cast<QFile *>(d->device))
            file->flush();
    }
    return true;
}

QImageWriter::ImageWriterError QImageWriterEx::error() const { return d->error; }
QString QImageWriterEx::errorString() const { return d->errorString; }

bool QImageWriterEx::supportsOption(QImageIOHandler::ImageOption option) const
{
    return d->ensureHandler() && d->handler->supportsOption(option);
}

QList<QByteArray> QImageWriterEx::supportedImageFormats()
{
    QList<QByteArray> formats;
    for (const SimpleFormat &simple : kSimpleFormats)
        formats.append(simple.key);
    const QList<ImagePlugin> plugins = imagePlugins();
    for (const ImagePlugin &plugin : plugins) {
        for (const QString &key : plugin.keys)
            formats.append(key.toLatin1());
    }
    return sortedOnce(formats);
}

QList<QByteArray> QImageWriterEx::supportedMimeTypes()
{
    QList<QByteArray> types;
    for (const SimpleFormat &simple : kSimpleFormats)
        types.append(fullMimeType(simple.mimeSubtype));
    const QList<ImagePlugin> plugins = imagePlugins();
    for (const ImagePlugin &plugin : plugins) {
        for (const QString &type : plugin.mimeTypes)
            types.append(fullMimeType(type.toLatin1()));
    }
    return sortedOnce(types);
}

QList<QByteArray> QImageWriterEx::imageFormatsForMimeType(const QByteArray &mimeType)
{
    QList<QByteArray> formats;
    if (!mimeType.startsWith(kMimePrefix))
        return formats;
    const auto take = [&](const QByteArray &type, const QByteArray &format) {
        if (fullMimeType(type) == mimeType && !formats.contains(format))
            formats.append(format);
    };
    for (const SimpleFormat &simple : kSimpleFormats)
        take(simple.mimeSubtype, simple.key);
    const QList<ImagePlugin> plugins = imagePlugins();
    for (const ImagePlugin &plugin : plugins) {
        const int pairs = std::min(plugin.keys.size(), plugin.mimeTypes.size());
        for (int i = 0; i < pairs; ++i)
            take(plugin.mimeTypes.at(i).toLatin1(), plugin.keys.at(i).toLatin1());
    }
    return formats;
}
