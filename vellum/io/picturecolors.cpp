#include <vellum/color/convertcolors.h>
#include <vellum/color/pixelprofile.h>
#include <vellum/color/profilesources_p.h>
#include <vellum/convert/convert.h>
#include <vellum/io/picturecolors_p.h>

#include <QColorSpace>

namespace vellum::io {

namespace {

bool hasPalette(const Vellum &image)
{
    return image.depth() == 1 || image.format() == QImage::Format_Indexed8;
}

cmsColorSpaceSignature spaceOf(const QByteArray &profile)
{
    if (profile.isEmpty())
        return cmsSigRgbData;
    const color::Profile opened = color::openProfile(profile);
    return opened ? cmsGetColorSpace(opened.get()) : cmsColorSpaceSignature(0);
}

/// Replaces \a image by what \a operation makes of it while it is watched.
template <typename Operation>
bool replace(Vellum &image, JobProgress &progress, Operation operation)
{
    const ProgressGuard guard = progress.watch(image);
    image = operation(image);
    return !image.isNull();
}

bool toFormat(Vellum &image, QImage::Format format, JobProgress &progress)
{
    if (image.format() == format)
        return true;
    return replace(image, progress, [format](const Vellum &in) { return converted(in, format); });
}

/// Converts the entries of the palette of \a image, as one row of opaque pixels.
template <typename Convert>
ColorOutcome convertPalette(Vellum &image, JobProgress &progress, Convert convert)
{
    QVector<QRgb> colors = image.colorTable();
    if (colors.isEmpty())
        return ColorOutcome::Impossible;
    Vellum row(colors.size(), 1, QImage::Format_RGB32);
    for (int i = 0; i < colors.size(); ++i)
        reinterpret_cast<QRgb *>(row.scanLineEx(0))[i] = colors.at(i) | 0xff000000;
    if (row.isGrayscale())
        row = converted(row, QImage::Format_Grayscale8);
    const ColorOutcome outcome = convert(row);
    if (outcome != ColorOutcome::Done)
        return outcome;
    if (!toFormat(row, QImage::Format_RGB32, progress))
        return ColorOutcome::Failed;
    const auto *const converted = reinterpret_cast<const QRgb *>(row.scanLineEx(0));
    for (int i = 0; i < colors.size(); ++i)
        colors[i] = (converted[i] & 0x00ffffff) | (colors.at(i) & 0xff000000);
    image.setColorTable(colors);
    return ColorOutcome::Done;
}

ColorOutcome convertPixels(Vellum &image, const QByteArray &from, const QByteArray &to,
                           const ColorConversion &conversion, JobProgress &progress)
{
    const bool fromGrey =
        from.isEmpty() ? isGrayFormat(image.format()) : spaceOf(from) == cmsSigGrayData;
    if (fromGrey && !isGrayFormat(image.format()))
        return ColorOutcome::Impossible;
    const QImage::Format format = convertibleFormat(image, fromGrey);
    const Vellum sample = converted(image.copy(0, 0, 1, 1), format);
    if (convertColors(sample, from, to, conversion).isNull())
        return ColorOutcome::Impossible;
    const bool done = toFormat(image, format, progress) &&
        replace(image, progress,
                [&](const Vellum &in) { return convertColors(in, from, to, conversion); });
    return done ? ColorOutcome::Done : ColorOutcome::Failed;
}

} // namespace

PixelColors claimColors(Vellum &image)
{
    const QByteArray profile = pixelProfile(image);
    if (profile.isEmpty())
        return PixelColors::Srgb;
    image.setIccProfile(profile);
    return PixelColors::FileOwn;
}

ColorOutcome toSrgb(Vellum &image, const QByteArray &profile, JobProgress &progress)
{
    const QImage::Format format = image.format();
    ColorOutcome outcome = ColorOutcome::Impossible;
    if (hasPalette(image)) {
        outcome = convertPalette(image, progress,
                                 [&](Vellum &row) { return toSrgb(row, profile, progress); });
    } else {
        outcome = convertPixels(image, profile, {}, {}, progress);
        if (outcome == ColorOutcome::Done && isGrayFormat(format) &&
            !toFormat(image, format, progress))
            outcome = ColorOutcome::Failed;
    }
    if (outcome == ColorOutcome::Done) {
        image.setIccProfile(profile);
        image.setColorSpace(QColorSpace::SRgb);
    }
    return outcome;
}

ColorOutcome toProfile(Vellum &image, const QByteArray &from, const QByteArray &to,
                       const ColorConversion &conversion, JobProgress &progress)
{
    const auto convert = [&](Vellum &pixels) {
        return convertPixels(pixels, from, to, conversion, progress);
    };
    // The palette of a grey picture would not be one of its colours.
    const ColorOutcome outcome = hasPalette(image) && spaceOf(to) == cmsSigRgbData
        ? convertPalette(image, progress, convert)
        : convert(image);
    if (outcome == ColorOutcome::Done) {
        image.setIccProfile(to);
        image.setColorSpace(QColorSpace::fromIccProfile(to));
    }
    return outcome;
}

} // namespace vellum::io
