#include <vellum/color/pixelprofile.h>
#include <vellum/color/presscolors.h>
#include <vellum/color/profileinfo.h>
#include <vellum/convert/convert.h>
#include <vellum/io/encoding_p.h>
#include <vellum/io/hrlehandler.h>
#include <vellum/io/hrleheader.h>
#include <vellum/io/limitcheck_p.h>
#include <vellum/io/picturecolors_p.h>
#include <vellum/io/writehandler_p.h>

#include <QColorSpace>
#include <QDataStream>
#include <QImageWriter>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

namespace vellum::io {

namespace {

SaveResult stepFailure(const JobProgress &progress)
{
    if (progress.isCancelled())
        return saveFailure(FileStatus::Cancelled, QStringLiteral("cancelled"));
    return saveFailure(FileStatus::OutOfMemory,
                       QStringLiteral("not enough memory for the picture"));
}

/// Bytes of a row that pixels take; the rest is padding.
size_t usedBytes(const Vellum &image)
{
    return size_t((qint64(image.width()) * image.depth() + 7) / 8);
}

bool hasCleanPadding(const Vellum &image)
{
    const size_t used = usedBytes(image);
    const auto all = size_t(image.storedBytesPerLine());
    const auto isZero = [](uchar byte) { return byte == 0; };
    for (int y = 0; used < all && y < image.height(); ++y) {
        const uchar *const row = image.scanLineEx(y);
        if (row && !std::all_of(row + used, row + all, isZero))
            return false;
    }
    return true;
}

/// Clears the padding, in which decoders leave anything: some kinds of file hold it.
bool cleanPadding(Vellum &image)
{
    if (hasCleanPadding(image))
        return true;
    if (image.isBigImage()) // others may share the rows; those of a plain image part by themselves
        image = converted(image, image.format());
    const size_t used = usedBytes(image);
    for (int y = 0; y < image.height(); ++y) {
        uchar *const row = image.scanLineEx(y);
        if (!row)
            return false;
        std::memset(row + used, 0, size_t(image.storedBytesPerLine()) - used);
    }
    return !image.isNull();
}

/// The profile that the pixels are colours of; empty for sRGB.
QByteArray profileOfPixels(const Vellum &image, const SaveOptions &options)
{
    // Those of a CMYK file have been made sRGB by its decoder.
    const bool areOwn = options.colors == PixelColors::FileOwn && !image.isOrgFileCmyk();
    return areOwn ? image.getIccProfile() : QByteArray();
}

bool isRgbProfile(const QByteArray &icc)
{
    return describeProfile(icc).colorSpace == QLatin1String("RGB");
}

ColorOutcome convertColors(Vellum &image, const SaveOptions &options, JobProgress &progress)
{
    const QByteArray own = profileOfPixels(image, options);
    if (options.cmyk) {
        if (isRgbProfile(own))
            return ColorOutcome::Done; // the inks are made from these colours, row by row
        const ColorOutcome outcome =
            own.isEmpty() ? ColorOutcome::Done : toSrgb(image, own, progress);
        image.setIccProfile({});
        return outcome;
    }
    if (!options.profile.isEmpty())
        return toProfile(image, own, options.profile, options.conversion, progress);
    if (options.colors == PixelColors::Srgb && !image.getIccProfile().isEmpty())
        image.setIccProfile({}); // not that of the pixels
    return ColorOutcome::Done;
}

using Guards = std::vector<std::unique_ptr<ProgressGuard>>;

/// Watches \a head and the images linked behind it, each as an equal part.
Guards watchChain(Vellum &head, JobProgress &progress)
{
    std::vector<Vellum *> pages;
    for (Vellum *page = &head; page; page = page->getNextImage())
        pages.push_back(page);
    Guards guards;
    const auto count = int(pages.size());
    for (int i = 0; i < count; ++i) {
        guards.emplace_back(new ProgressGuard(
            progress.watch(*pages[size_t(i)], ProgressGuard::Positions::Rows, i, count)));
    }
    return guards;
}

SaveResult encodeHrle(Vellum &image, QIODevice &device, JobProgress &progress)
{
    const ProgressGuard guard = progress.watch(image);
    QDataStream stream(&device);
    if (HrleHandler().writeStream(stream, image) && stream.status() == QDataStream::Ok)
        return {};
    return saveFailure(FileStatus::NotWritten, QStringLiteral("the picture cannot be written"));
}

/// A handler that is ready to write; null when the plugin cannot be used.
std::unique_ptr<QImageIOHandler> makeHandler(const Encoder &encoder, QIODevice &device,
                                             const SaveOptions &options)
{
    auto handler = makeWritingHandler(encoder.plugin, &device, encoder.format);
    if (!handler)
        return nullptr;
    handler->setDevice(&device);
    handler->setFormat(encoder.format);
    WriteSettings settings;
    settings.quality = options.quality;
    settings.compression = options.compression;
    settings.subType = options.subType;
    settings.optimizedWrite = options.optimized;
    settings.progressiveScanWrite = options.progressive;
    passSettings(*handler, settings);
    return handler;
}

SaveResult encodeWithPlugin(Vellum &image, const Encoder &encoder, QIODevice &device,
                            const SaveOptions &options, JobProgress &progress)
{
    const auto handler = makeHandler(encoder, device, options);
    if (!handler)
        return saveFailure(FileStatus::NotAPicture, QStringLiteral("its plugin cannot be used"));
    if (options.cmyk &&
        !prepareSaveCmyk(image, {options.profile, image.getIccProfile(), options.conversion})) {
        return saveFailure(FileStatus::NotWritten,
                           QStringLiteral("its colours cannot be converted to CMYK"));
    }

    const auto guards = watchChain(image, progress);
    if (handler->write(image))
        return {};
    return saveFailure(FileStatus::NotWritten, QStringLiteral("the picture cannot be written"));
}

SaveResult encodeWithQt(const Vellum &image, const Encoder &encoder, QIODevice &device,
                        const SaveOptions &options)
{
    QImageWriter writer(&device, encoder.format);
    writer.setQuality(options.quality);
    writer.setCompression(options.compression);
    writer.setSubType(options.subType);
    writer.setOptimizedWrite(options.optimized);
    writer.setProgressiveScanWrite(options.progressive);
    if (writer.write(image))
        return {};
    return saveFailure(FileStatus::NotWritten, writer.errorString());
}

} // namespace

SaveResult saveFailure(FileStatus status, const QString &message)
{
    SaveResult result;
    result.status = status;
    result.message = message;
    return result;
}

Encoder findEncoder(const QByteArray &format, QIODevice &device)
{
    Encoder encoder;
    encoder.format = format.toLower();
    if (encoder.format == "hrle") {
        encoder.kind = Encoder::Hrle;
        return encoder;
    }
    const QList<ImagePlugin> plugins = imagePlugins();
    const QString key = QString::fromLatin1(encoder.format);
    for (const bool knowsVellum : {true, false}) {
        for (const ImagePlugin &plugin : plugins) {
            // Asking the others too would load them all.
            if (plugin.knowsVellum != knowsVellum || !plugin.keys.contains(key) ||
                !makeWritingHandler(plugin, &device, encoder.format))
                continue;
            encoder.kind = Encoder::Plugin;
            encoder.plugin = plugin;
            return encoder;
        }
    }
    if (QImageWriter::supportedImageFormats().contains(encoder.format))
        encoder.kind = Encoder::Qt;
    return encoder;
}

RowOrder writeOrder(const Encoder &encoder, QIODevice &device, const SaveOptions &options)
{
    if (encoder.kind != Encoder::Plugin || !encoder.plugin.tellsRowOrder)
        return RowOrder::None;
    const auto handler = makeHandler(encoder, device, options);
    return handler ? RowOrder(handler->option(kWriteOrder).toInt()) : RowOrder::None;
}

SaveResult checkEncoder(const Encoder &encoder, const QSize &size, const SaveOptions &options)
{
    const QString kind = QString::fromLatin1(encoder.format);
    if (encoder.kind == Encoder::None) {
        return saveFailure(FileStatus::NotAPicture,
                           kind.isEmpty()
                               ? QStringLiteral("its kind of file is not known")
                               : QStringLiteral("files of kind %1 cannot be written").arg(kind));
    }
    if (options.cmyk && !encoder.writesCmyk()) {
        return saveFailure(FileStatus::NotAPicture,
                           QStringLiteral("files of kind %1 cannot be written in CMYK").arg(kind));
    }
    if (options.cmyk && !options.profile.isEmpty() &&
        describeProfile(options.profile).colorSpace != QLatin1String("CMYK")) {
        return saveFailure(FileStatus::NotWritten,
                           QStringLiteral("its colours cannot be converted to the profile"));
    }
    const QString fault = encoder.kind == Encoder::Hrle ? hrleSizeFault(size) : QString();
    return fault.isEmpty() ? SaveResult() : saveFailure(FileStatus::OverLimit, fault);
}

bool changesPixels(const Vellum &image, const SaveOptions &options)
{
    if (!options.cmyk)
        return !options.profile.isEmpty();
    const QByteArray own = profileOfPixels(image, options);
    return !own.isEmpty() && !isRgbProfile(own);
}

SaveResult changeColors(Vellum &image, const SaveOptions &options, JobProgress &progress)
{
    switch (convertColors(image, options, progress)) {
    case ColorOutcome::Done:
        return {};
    case ColorOutcome::Impossible:
        return saveFailure(FileStatus::NotWritten,
                           QStringLiteral("its colours cannot be converted to the profile"));
    case ColorOutcome::Failed:
        break;
    }
    return stepFailure(progress);
}

void matchColorSpace(Vellum &image)
{
    const QByteArray profile = image.getIccProfile();
    const QColorSpace space = image.colorSpace();
    if (profile.isEmpty() ? !space.isValid() || isSrgb(space) : space.iccProfile() == profile)
        return; // setting it copies the pixels of a plain image that is shared
    image.setColorSpace(profile.isEmpty() ? QColorSpace() : QColorSpace::fromIccProfile(profile));
}

SaveResult makeReady(Vellum &image, const Encoder &encoder, const SaveOptions &options,
                     JobProgress &progress)
{
    if (image.isNull())
        return saveFailure(FileStatus::NotAPicture, QStringLiteral("there is no picture to save"));
    SaveResult result = checkEncoder(encoder, image.size(), options);
    if (result)
        result = changeColors(image, options, progress);
    if (!result)
        return result;

    const bool big = image.isBigImage() && encoder.knowsVellum();
    const QImage::Format format =
        encoder.kind == Encoder::Hrle ? QImage::Format_Grayscale8 : image.format();
    if (format != image.format() || big != image.isBigImage()) {
        const Limits limits = options.limits.value_or(defaultLimits());
        const QString excess = big ? QString() : limitFault(image.size(), format, limits);
        if (!excess.isEmpty()) {
            return saveFailure(FileStatus::OverLimit,
                               QStringLiteral("files of kind %1 are written from one block of "
                                              "memory, but %2")
                                   .arg(QString::fromLatin1(encoder.format), excess));
        }
        const ProgressGuard guard = progress.watch(image);
        image = converted(image, format, Qt::AutoColor, big ? Storage::Big : Storage::Plain);
    }
    if (!image.isNull())
        matchColorSpace(image);
    const bool rowsAsTheyAre = encoder.kind != Encoder::Plugin;
    const bool ready = !image.isNull() && (!rowsAsTheyAre || cleanPadding(image));
    return ready ? SaveResult() : stepFailure(progress);
}

SaveResult encode(Vellum &image, const Encoder &encoder, QIODevice &device,
                  const SaveOptions &options, JobProgress &progress)
{
    SaveResult result;
    switch (encoder.kind) {
    case Encoder::Hrle:
        result = encodeHrle(image, device, progress);
        break;
    case Encoder::Plugin:
        result = encodeWithPlugin(image, encoder, device, options, progress);
        break;
    case Encoder::Qt:
    case Encoder::None:
        result = encodeWithQt(image, encoder, device, options);
        break;
    }
    if (progress.isCancelled())
        return stepFailure(progress);
    return result;
}

} // namespace vellum::io
