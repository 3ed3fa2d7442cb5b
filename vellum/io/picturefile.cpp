#include <vellum/convert/convert.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/heldattachments_p.h>
#include <vellum/io/decoder_p.h>
#include <vellum/io/graypalette_p.h>
#include <vellum/io/limitcheck_p.h>
#include <vellum/io/picturecolors_p.h>
#include <vellum/io/picturefile.h>
#include <vellum/io/readoptions.h>
#include <vellum/io/upright_p.h>
#include <vellum/scale/smoothscaled.h>

#include <private/qimage_p.h>

namespace vellum {

namespace {

using image::HeldAttachments;
using io::Decoder;
using io::JobProgress;
using Option = QImageIOHandler::ImageOption;

/// Where the stages of the job end, in percent.
constexpr int kDecoded = 60;
constexpr int kCut = 70;
constexpr int kTurned = 80;
constexpr int kColored = 90;
constexpr int kFormatted = 100;

PictureInfo uprightInfo(PictureInfo info)
{
    info.size = io::uprightSize(info.size, info.transformation);
    return info;
}

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

OpenResult noSuchPage(int page)
{
    OpenResult result;
    result.status = FileStatus::NotFound;
    result.message = QStringLiteral("it has no page %1").arg(page);
    return result;
}

/// Opens one page. Every step returns false once it is clear that this fails, and why is then in
/// the result.
class Opening
{
    Q_DISABLE_COPY(Opening)

public:
    Opening(Decoder &decoder, const OpenOptions &options, JobProgress &progress)
        : m_decoder(decoder), m_options(options), m_progress(progress),
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

    const PictureInfo &info() const { return m_info; }

private:
    bool run()
    {
        return start() && findPage() && askForPart() && checkLimits(m_stored, m_info.format) &&
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

    bool findPage()
    {
        const bool found = m_options.page >= 0 && m_decoder.goTo(m_options.page);
        m_info = m_decoder.info();
        if (!found || (m_options.page > 0 && m_options.page >= m_info.pages)) {
            const OpenResult missing = noSuchPage(m_options.page);
            return fail(missing.status, missing.message);
        }
        m_stored = m_info.size;
        return true;
    }

    /// Has the decoder read less, if it can.
    bool askForPart()
    {
        if (!m_options.region.isNull()) {
            const QRect all(QPoint(), io::uprightSize(m_info.size, m_info.transformation));
            if (!m_info.size.isEmpty() && !all.contains(m_options.region))
                return fail(FileStatus::NotFound, QStringLiteral("the region is not inside it"));
            m_cuts = m_info.size.isEmpty() ||
                !m_decoder.setOption(Option::ClipRect, storedRegion(m_info.size));
            if (!m_cuts)
                m_stored = storedRegion(m_info.size).size();
        }
        if (!m_options.size.isEmpty()) {
            const QSize size = io::uprightSize(m_options.size, m_info.transformation);
            m_scales = m_cuts || !m_decoder.setOption(Option::ScaledSize, size);
            if (!m_scales)
                m_stored = size;
        }
        return true;
    }

    QRect storedRegion(const QSize &size) const
    {
        return io::storedRegion(m_options.region, size, m_info.transformation);
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
        if (m_stored.isEmpty() || m_info.format == QImage::Format_Invalid ||
            !m_decoder.fillsImages())
            return true;
        const int w = m_stored.width();
        const int h = m_stored.height();
        const bool canBeBig = m_decoder.fillsBigImages() && m_options.storage != Storage::Plain;
        bool made = !(canBeBig && wantsBig(m_stored, m_info.format)) &&
            Vellum::create(m_picture, w, h, m_info.format);
        made = made || (canBeBig && Vellum::createBig(m_picture, w, h, m_info.format));
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
            const QString fault = m_decoder.fault();
            static_cast<void>(
                fail(status, fault.isEmpty() ? QStringLiteral("the file is damaged") : fault));
            if (!m_options.keepDamaged || m_picture.isNull())
                return false;
        }
        if (!m_cuts)
            m_stored = m_picture.size();
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
        if (m_cuts) {
            const QRect part = storedRegion(m_picture.size());
            if (!m_picture.rect().contains(part))
                return fail(FileStatus::NotFound, QStringLiteral("the region is not inside it"));
            m_picture = m_picture.copyEx(part);
        }
        if (m_scales && !m_picture.isNull()) {
            const QSize size = io::uprightSize(m_options.size, m_info.transformation);
            const ProgressGuard guard = m_progress.watch(m_picture);
            m_picture = smoothScaled(m_picture, size, {}, image::storageOf(m_picture));
        }
        if (m_cuts || m_scales)
            m_attachments->dropChannels();
        return !m_picture.isNull() || failStep();
    }

    bool turn()
    {
        m_progress.beginStage(kTurned);
        if (m_info.transformation == QImageIOHandler::TransformationNone)
            return m_progress.poll() || failStep();
        const QSize stored = m_picture.size();
        if (!io::turnUpright(m_picture, m_info.transformation, m_progress))
            return failStep();
        const auto origin = [&](QPoint p) {
            return io::storedRegion(QRect(p, QSize(1, 1)), stored, m_info.transformation).topLeft();
        };
        return m_attachments->rearrangeChannels(stored, m_picture.size(), origin) || failStep();
    }

    bool convertColors()
    {
        m_progress.beginStage(kColored);
        const QByteArray profile = io::fileProfile(m_picture);
        if (profile.isEmpty() || m_picture.isOrgFileCmyk())
            return m_progress.poll() || failStep();
        m_picture.setIccProfile(profile);
        m_result.colors = PixelColors::FileOwn;
        if (m_options.colors == PixelColors::FileOwn)
            return true;
        const io::ColorOutcome outcome = io::toSrgb(m_picture, profile, m_progress);
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
    const Limits m_limits;
    PictureInfo m_info; // as it is stored
    QSize m_stored; // of the picture that is decoded
    bool m_cuts = false; // after decoding
    bool m_scales = false; // after decoding
    Vellum m_picture;
    std::optional<HeldAttachments> m_attachments; // of the picture, from decoding on
    OpenResult m_result;
};

} // namespace

qint64 pixelBytes(const QSize &size, QImage::Format format)
{
    if (size.isEmpty() || format <= QImage::Format_Invalid || format >= QImage::NImageFormats)
        return 0;
    const qint64 rowBits = qint64(size.width()) * qt_depthForFormat(format);
    return (rowBits + 31) / 32 * 4 * size.height();
}

struct PictureFile::Private
{
    OpenResult result;
    std::unique_ptr<Decoder> decoder; // null when the file is no picture
    PictureInfo info;
};

PictureFile::PictureFile(const QString &file) : d(std::make_unique<Private>())
{
    d->decoder = io::makeDecoder(file, d->result);
    if (d->decoder)
        d->info = uprightInfo(d->decoder->info());
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
        return noSuchPage(page);
    d->info = uprightInfo(info);
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
    d->info = uprightInfo(opening.info());
    return result;
}

OpenResult openImage(Vellum &image, const QString &file, const OpenOptions &options)
{
    return PictureFile(file).read(image, options);
}

} // namespace vellum
