#include "scaling.h"

#include "cancel.h"
#include "command.h"
#include "failure.h"
#include "outputfile.h"
#include "progress.h"
#include "rows.h"

#include <QRegularExpression>

#include <cmath>
#include <cstring>

namespace vellum::tool {

namespace {

constexpr qint64 kBandPixels = 1 << 20; // a few milliseconds
constexpr int kMostSide = 10000000; // there are tables with an entry for every column and row

QSize parsedSize(const std::string &text)
{
    static const QRegularExpression form(QStringLiteral("^(\\d{1,9})x(\\d{1,9})$"));
    const QRegularExpressionMatch match = form.match(fromShell(text));
    const QSize size(match.captured(1).toInt(), match.captured(2).toInt());
    if (size.isEmpty())
        throw CLI::ValidationError("--size", "'" + text + "' is no size such as 640x480");
    return size;
}

/// What is too large comes out as one more than kMostSide.
int rounded(double side) { return int(qBound(1.0, std::round(side), kMostSide + 1.0)); }

QSize fittedSize(const ScalingOptions &options, const QSize &source)
{
    constexpr Qt::AspectRatioMode kModes[] = {Qt::KeepAspectRatio, Qt::KeepAspectRatioByExpanding,
                                              Qt::IgnoreAspectRatio};
    return source.scaled(options.size, kModes[int(options.fitting)]).expandedTo(QSize(1, 1));
}

QSize sizeFor(const ScalingOptions &options, const QSize &source)
{
    const double aspect = double(source.width()) / source.height();
    if (!options.size.isEmpty())
        return fittedSize(options, source);
    if (options.width > 0)
        return {options.width, rounded(options.width / aspect)};
    if (options.height > 0)
        return {rounded(options.height * aspect), options.height};
    return {rounded(source.width() * options.percent / 100),
            rounded(source.height() * options.percent / 100)};
}

/// Picks pixels, band by band: fast_scale_image() itself cannot be cancelled.
Vellum sampled(const Vellum &picture, const Target &target, bool big, Progress &progress)
{
    const QRect &part = target.part;
    Vellum result;
    if (picture.isNull())
        return result;
    const auto create = big ? Vellum::createBig : Vellum::create;
    if (!create(result, part.width(), part.height(), picture.format()))
        return {};
    copyMetadata(result, picture);

    const int rowsPerBand = int(qBound<qint64>(1, kBandPixels / part.width(), part.height()));
    Vellum band;
    for (int top = 0; top < part.height(); top += rowsPerBand) {
        const int rows = qMin(rowsPerBand, part.height() - top);
        const QRect wanted(part.left(), part.top() + top, part.width(), rows);
        if (cancelFlag() || !fast_scale_image(band, picture, target.size, wanted, false, QSize()))
            return {};
        const auto bytes = size_t(qMin(band.storedBytesPerLine(), result.storedBytesPerLine()));
        for (int y = 0; y < rows; ++y)
            std::memcpy(result.scanLineEx(top + y), std::as_const(band).scanLineEx(y), bytes);
        progress.reportPart(top + rows, part.height());
    }
    return result;
}

/// \a picture in a form that the sampler understands, which reads one-bit pixels from the highest
/// bit on.
Vellum highestBitFirst(const Vellum &picture, Progress &progress)
{
    if (picture.format() != QImage::Format_MonoLSB)
        return picture;
    const Storage same = picture.isBigImage() ? Storage::Big : Storage::Plain;
    Vellum result = arranged(picture, QImage::Format_Mono, same, progress);
    if (!result.isNull())
        result.setColorTable(picture.colorTable());
    return result;
}

} // namespace

Target targetFor(const ScalingOptions &options, const QSize &source, const QString &fileName)
{
    const QSize size = sizeFor(options, source);
    if (options.onlyDown && size.width() >= source.width() && size.height() >= source.height())
        return {source, QRect(QPoint(0, 0), source)};
    QRect part(QPoint(0, 0), size);
    if (!options.size.isEmpty() && options.fitting == Fitting::Fill) {
        part = QRect(QPoint((size.width() - options.size.width()) / 2,
                            (size.height() - options.size.height()) / 2),
                     options.size);
    }
    if (!options.crop.isNull())
        part &= options.crop.translated(part.topLeft());
    if (part.isEmpty()) {
        throw Failure(UsageError, fileName,
                      QStringLiteral("nothing of the scaled picture lies in the area of --crop"));
    }
    if (size.width() > kMostSide || size.height() > kMostSide) {
        throw Failure(UsageError, fileName,
                      QStringLiteral("a side of the scaled picture would have more than %1 pixels")
                          .arg(kMostSide));
    }
    return {size, part};
}

Vellum scaledPicture(Vellum &picture, const Target &target, bool fast, Storage storage,
                     Progress &progress, OutputFile &output)
{
    const bool big =
        chooseStorage(storage, pixelBytes(target.part.size(), picture.format())) == Storage::Big;
    Vellum result;
    if (fast) {
        result = sampled(highestBitFirst(picture, progress), target, big, progress);
    } else {
        const ProgressGuard guard = progress.watch(picture);
        result = smoothScaled(picture, target.size, target.part,
                              big ? vellum::Storage::Big : vellum::Storage::Plain);
    }
    if (result.isNull())
        output.fail(QStringLiteral("not enough memory for the scaled picture"));
    return result;
}

void addScalingOptions(CLI::App &command, ScalingOptions &options, bool required)
{
    CLI::Option_group *const sizes = command.add_option_group("Size", "The new size; one of");
    CLI::Option *const size = sizes->add_option_function<std::string>(
        "--size", [&options](const std::string &text) { options.size = parsedSize(text); },
        "Width and height in pixels");
    size->type_name("WxH");
    sizes->add_option("--width", options.width, "Width; the height follows")
        ->check(CLI::Range(1, kMostSide).description(""))
        ->type_name("N");
    sizes->add_option("--height", options.height, "Height; the width follows")
        ->check(CLI::Range(1, kMostSide).description(""))
        ->type_name("N");
    sizes->add_option("--percent", options.percent, "Of the size it has")
        ->check(CLI::Range(0.001, 1e6).description(""))
        ->type_name("P");
    sizes->require_option(required ? 1 : 0, 1);

    CLI::Option_group *const fittings = command.add_option_group("Fitting", "With --size");
    const auto addFitting = [&](const char *name, Fitting fitting, const char *description) {
        fittings
            ->add_flag_function(
                name, [&options, fitting](std::int64_t) { options.fitting = fitting; }, description)
            ->needs(size);
    };
    addFitting("--fit", Fitting::Fit, "Keep the proportions and fit into the size (the default)");
    addFitting("--fill", Fitting::Fill,
               "Keep the proportions, fill the size and cut off what is over,\n"
               "equally on both sides");
    addFitting("--stretch", Fitting::Stretch, "Give up the proportions");
    fittings->require_option(0, 1);
    command.add_flag("--fast", options.fast,
                     "Pick pixels instead of averaging them; keeps palettes");
}

} // namespace vellum::tool
