#include <vellum/convert/convert.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/heldattachments_p.h>
#include <vellum/image/tightrows_p.h>
#include <vellum/io/graypalette_p.h>
#include <vellum/io/limitcheck_p.h>
#include <vellum/io/pagerequest_p.h>
#include <vellum/io/picturecolors_p.h>
#include <vellum/io/picturefile.h>
#include <vellum/io/picturefile_p.h>
#include <vellum/io/readoptions.h>
#include <vellum/io/upright_p.h>
#include <vellum/scale/smoothscaled.h>

#include <private/qimage_p.h>

namespace vellum {

namespace {

using image::HeldAttachments;
using io::Decoder;
using io::JobProgress;

/// Where the stages of the job end, in percent.
constexpr int kDecoded = 60;
constexpr int kCut = 70;
constexpr int kTurned = 80;
constexpr int kColored = 90;
constexpr int kFormatted = 100;

/// The format that a decoded picture is to have, where that takes a conversion.
QImage::Format openedFormat(QImage::Format format, OpenedFormat wanted)
{
    if (wanted == OpenedFormat::AsDecoded)
        return format;
    const bool keep = wanted == OpenedFormat::Keep16Bits;
    switch (format) {
    case QImage::Format_ARGB32_Premultiplied:
        return QImage::Format_ARGB32;
    case QImage::Format_Grayscale16:
        return keep ? format : QImage::Format_Grayscale8;
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
        return keep ? format : QImage::Format_ARGB32;
    case QImage::Format_RGBA64_Premultiplied:
        return keep ? QImage::Format_RGBA64 : QImage::Format_ARGB32;
    default:
        return format;
    }
}

/// Opens one page. Every step returns false once it is clear that this fails, and why is then in
/// the result.
class Opening
{
    Q_DISABLE_COPY(Opening)

public:
    Opening(Decoder &decoder, const OpenOptions &options, JobProgress &progress)
        : m_decoder(decoder), m_options(options), m_progress(progress), m_request(decoder, options),
          m_limits(options.limits.value_or(defaultLimits()))
    {
    }

    /// The picture is in \a image afterwards, unless it is to stay as it was.
    OpenResult into(Vellum &image)
    {
        // A plugin that succeeds on a damaged file would not tell that it is one.
        m_picture.setReadOptions(int(image.getReadOptions() & ~unsigned(KeepDamaged)));
        if (!run())
            return m_result;
        const HeldAttachments released(image); // which the assignment would forget
        image = m_picture;
        m_attachments->giveTo(image);
        return m_result;
    }

    const PictureInfo &info() const { return m_request.info(); }

private:
    bool run()
    {
        return start() && ask() && checkLimits(m_request.decodedSize(), info().format) &&
            makeRows() && decode() && place() && cut() && turn() && convertColors() &&
            convertFormat() && end();
    }

    bool fail(FileStatus status, const QString &message)
    {
        m_result.status = status;
        m_result.message = message;
        return false;
    }

    /// For steps that memory or the user has ended.
    bool failStep()
    {
        if (m_progress.isCancelled())
            return fail(FileStatus::Cancelled, QStringLiteral("cancelled"));
        return fail(FileStatus::OutOfMemory, QStringLiteral("not enough memory for the picture"));
    }

    bool start()
    {
        m_progress.beginStage(kDecoded);
        return m_progress.poll() || failStep();
    }

    bool ask()
    {
        m_result = m_request.make();
        return bool(m_result);
    }

    bool checkLimits(const QSize &size, QImage::Format format)
    {
        const QString excess = io::limitFault(size, format, m_limits);
        return excess.isEmpty() || fail(FileStatus::OverLimit, excess);
    }

    bool wantsBig(const QSize &size, QImage::Format format) const
    {
        return m_options.storage ? *m_options.storage == Storage::Big
                                 : pixelBytes(size, format) >= m_options.bigFrom;
    }

    /// Makes the image that the decoder fills, where it is known what that is.
    bool makeRows()
    {
        const QSize size = m_request.decodedSize();
        const QImage::Format format = info().format;
        if (size.isEmpty() || format == QImage::Format_Invalid || !m_decoder.fillsImages())
            return true;
        const int w = size.width();
        const int h = size.height();
        const bool canBeBig = m_decoder.fillsBigImages() && m_options.storage != Storage::Plain;
        bool made =
            !(canBeBig && wantsBig(size, format)) && Vellum::create(m_picture, w, h, format);
        made = made || (canBeBig && Vellum::createBig(m_picture, w, h, format));
        if (made && m_options.keepDamaged)
            m_picture.fill(0U);
        return made || failStep();
    }

    bool decode()
    {
        const FileStatus status = m_decoder.read(m_picture, m_progress, m_result.rowsRead);
        m_attachments.emplace(m_picture);
        if (m_progress.isCancelled() || status == FileStatus::OutOfMemory)
            return failStep();
        if (status == FileStatus::Damaged) {
            static_cast<void>(fail(status, io::damage(m_decoder)));
            if (!m_options.keepDamaged || m_picture.isNull())
                return false;
        }
        return checkLimits(m_picture.size(), m_picture.format());
    }

    /// Moves rows that were decoded into plain memory.
    bool place()
    {
        const bool big = wantsBig(m_picture.size(), m_picture.format());
        const bool leave = m_picture.isBigImage() ? m_options.storage != Storage::Plain : !big;
        if (leave)
            return true;
        const Storage storage = big ? Storage::Big : Storage::Plain;
        const ProgressGuard guard = m_progress.watch(m_picture);
        const Vellum moved = converted(m_picture, m_picture.format(), Qt::AutoColor, storage);
        if (!moved.isNull())
            m_picture = moved;
        else if (m_options.storage || m_progress.isCancelled())
            return failStep();
        return true;
    }

    /// Does what the decoder could not leave out.
    bool cut()
    {
        m_progress.beginStage(kCut);
        if (m_request.cuts()) {
            const QRect part = m_request.storedRegion(m_picture.size());
            if (!m_picture.rect().contains(part))
                return fail(FileStatus::NotFound, QStringLiteral("the region is not inside it"));
            m_picture = m_picture.copyEx(part);
        }
        if (m_request.scales() && !m_picture.isNull()) {
            const QSize size = io::uprightSize(m_options.size, info().transformation);
            const ProgressGuard guard = m_progress.watch(m_picture);
            m_picture = smoothScaled(m_picture, size, {}, image::storageOf(m_picture));
        }
        if (m_request.cuts() || m_request.scales())
            m_attachments->dropChannels();
        return !m_picture.isNull() || failStep();
    }

    bool turn()
    {
        m_progress.beginStage(kTurned);
        if (info().transformation == QImageIOHandler::TransformationNone)
            return m_progress.poll() || failStep();
        const QSize stored = m_picture.size();
        if (!io::turnUpright(m_picture, info().transformation, m_progress))
            return failStep();
        const auto origin = [&](QPoint p) {
            return io::storedRegion(QRect(p, QSize(1, 1)), stored, info().transformation).topLeft();
        };
        return m_attachments->rearrangeChannels(stored, m_picture.size(), origin) || failStep();
    }

    bool convertColors()
    {
        m_progress.beginStage(kColored);
        m_result.colors = io::claimColors(m_picture);
        if (m_result.colors == PixelColors::Srgb)
            return m_progress.poll() || failStep();
        if (m_options.colors == PixelColors::FileOwn)
            return true;
        const io::ColorOutcome outcome =
            io::toSrgb(m_picture, m_picture.getIccProfile(), m_progress);
        if (outcome == io::ColorOutcome::Done)
            m_result.colors = PixelColors::Srgb;
        return outcome != io::ColorOutcome::Failed || failStep();
    }

    bool convertFormat()
    {
        m_progress.beginStage(kFormatted);
        if (m_options.format != OpenedFormat::AsDecoded) {
            io::makeGrayIfPaletteIs(m_picture);
            convert32BitsImageToARGB32(m_picture, false);
        }
        const QImage::Format format = openedFormat(m_picture.format(), m_options.format);
        if (format == m_picture.format())
            return m_progress.poll() || failStep();
        const ProgressGuard guard = m_progress.watch(m_picture);
        m_picture = converted(m_picture, format);
        return !m_picture.isNull() || failStep();
    }

    bool end() { return m_progress.poll(1) || failStep(); }

    Decoder &m_decoder;
    const OpenOptions &m_options;
    JobProgress &m_progress;
    io::PageRequest m_request;
    const Limits m_limits;
    Vellum m_picture;
    std::optional<HeldAttachments> m_attachments; // of the picture, from decoding on
    OpenResult m_result;
};

} // namespace

qint64 pixelBytes(const QSize &size, QImage::Format format)
{
    if (size.isEmpty() || format <= QImage::Format_Invalid || format >= QImage::NImageFormats)
        return 0;
    return image::tightStride(size.width(), qt_depthForFormat(format)) * size.height();
}

PictureFile::PictureFile(const QString &file) : d(std::make_unique<Private>())
{
    d->decoder = io::makeDecoder(file, d->result);
    if (d->decoder)
        d->info = io::uprightInfo(d->decoder->info());
}

PictureFile::~PictureFile() = default;

const OpenResult &PictureFile::result() const { return d->result; }

const PictureInfo &PictureFile::info() const { return d->info; }

OpenResult PictureFile::lookAt(int page)
{
    if (!d->decoder)
        return d->result;
    const bool found = page >= 0 && d->decoder->goTo(page);
    const PictureInfo info = d->decoder->info();
    if (!found || (page > 0 && page >= info.pages))
        return io::noSuchPage(page);
    d->info = io::uprightInfo(info);
    return d->result;
}

OpenResult PictureFile::read(Vellum &image, const OpenOptions &options)
{
    const bool damaged = d->result.status == FileStatus::Damaged;
    if (!d->decoder || (damaged && !options.keepDamaged))
        return d->result;
    JobProgress progress(options.progress, options.cancel, image);
    Opening opening(*d->decoder, options, progress);
    OpenResult result = opening.into(image);
    d->info = io::uprightInfo(opening.info());
    return result;
}

OpenResult openImage(Vellum &image, const QString &file, const OpenOptions &options)
{
    return PictureFile(file).read(image, options);
}

} // namespace vellum
