#include "reading.h"

#include "cancel.h"
#include "messages.h"
#include "outputfile.h"
#include "progress.h"

#include <utility>

namespace vellum::tool {

namespace {

/// What a decoder said about a picture that it delivered incomplete, or nothing. Qt takes a cut
/// off JPEG file for a good one; only libjpeg's warning tells.
QString incompleteness(const QStringList &warnings)
{
    for (const QString &warning : warnings) {
        if (warning.contains(QLatin1String("premature end"), Qt::CaseInsensitive))
            return QStringLiteral("the file is damaged or cut short");
    }
    return {};
}

PictureHeader headerOf(const PictureInfo &info)
{
    return {QString::fromLatin1(info.kind), info.size, info.format};
}

/// What never changes from picture to picture, and \a wishes.
OpenOptions openOptions(const ReadWishes &wishes)
{
    OpenOptions options;
    options.format = OpenedFormat::AsDecoded;
    options.colors = PixelColors::FileOwn;
    if (wishes.storage != Storage::Auto) {
        const bool big = wishes.storage == Storage::Big;
        options.storage = big ? vellum::Storage::Big : vellum::Storage::Plain;
    }
    options.bigFrom = kBigFrom;
    options.region = wishes.region;
    options.size = wishes.size;
    options.keepDamaged = wishes.keepDamaged;
    options.cancel = &cancelFlag();
    return options;
}

} // namespace

bool isHrleName(const QString &fileName) { return fileName.endsWith(QLatin1String(".hrle")); }

PictureReader::PictureReader(const QString &fileName) : m_fileName(fileName)
{
    NoForcedEnd().setCurrentFile(fileName);
    const WarningLog log;
    m_file.emplace(fileName);
    if (!m_file->result())
        fail(m_file->result().status, m_file->result().message);
    m_header = headerOf(m_file->info());
}

void PictureReader::fail(FileStatus status, const QString &reason) const
{
    if (cancelFlag())
        throw cancelled(m_fileName);
    if (status == FileStatus::OverLimit)
        throw Failure(OverLimit, m_fileName, reason + QLatin1String(" (see --memory-limit)"));
    throw Failure(InputError, m_fileName, reason);
}

Vellum PictureReader::read(Progress &progress, const ReadWishes &wishes)
{
    Vellum picture;
    readPage(0, picture, progress, wishes);
    m_exif = takeExif(picture);
    int bits = 0;
    int stride = 0;
    static_cast<void>(std::as_const(picture).channelsData(m_channelsLeftOut, bits, stride));
    picture.freeChannelsData();
    return picture;
}

PictureHeader PictureReader::lookAt(int page)
{
    const OpenResult result = m_file->lookAt(page);
    if (!result)
        fail(result.status, result.message);
    return headerOf(m_file->info());
}

void PictureReader::readPage(int page, Vellum &picture, Progress &progress,
                             const ReadWishes &wishes, const Limits &limits)
{
    OpenOptions options = openOptions(wishes);
    options.page = page;
    options.limits = limits;
    options.progress = [&progress](int percent) {
        progress.reportPart(percent, 100);
        return true;
    };
    const WarningLog log;
    const OpenResult result = m_file->read(picture, options);
    m_damage = result.status == FileStatus::Damaged
        ? log.warnings().value(0, result.message) // the decoder's own words tell more
        : incompleteness(log.warnings());
    if (!m_damage.isEmpty() && (!wishes.keepDamaged || picture.isNull()))
        fail(FileStatus::Damaged, m_damage);
    if (!result && result.status != FileStatus::Damaged)
        fail(result.status, result.message);
    tellRows(result.rowsRead, picture.height());
}

bool PictureReader::stream(const ReadWishes &wishes, int height, OutputFile &output,
                           const SaveOptions &saving, const RowConversion &conversion)
{
    const WarningLog log;
    const StreamResult result =
        streamPicture(*m_file, openOptions(wishes), *output.device(), saving, conversion);
    if (result.outcome == StreamResult::NotPossible) {
        printVerbose(m_fileName + QLatin1String(": held whole: ") + result.obstacle);
        return false;
    }
    if (result.outcome == StreamResult::ReadingFailed)
        fail(result.opened.status, result.opened.message);
    if (result.outcome == StreamResult::WritingFailed)
        output.fail(result.saved);
    if (result.opened.status == FileStatus::Damaged) {
        m_damage = result.opened.message;
        tellRows(result.opened.rowsRead, height);
    }
    return true;
}

void PictureReader::tellRows(int rowsRead, int height)
{
    if (!m_damage.isEmpty() && rowsRead >= 0)
        m_damage += QStringLiteral("; %1 of %2 rows were read").arg(rowsRead).arg(height);
}

ReleasedAttachments::~ReleasedAttachments()
{
    takeExif(m_picture);
    m_picture.freeChannelsData();
}

QByteArray takeExif(Vellum &picture)
{
    ExifData *const exif = picture.getExifData();
    if (!exif)
        return {};
    const QByteArray block(exif->data, exif->size);
    picture.setExifData(nullptr, 0); // releases the bytes
    delete exif;
    picture = Vellum(picture); // forgets the record
    return block;
}

} // namespace vellum::tool
