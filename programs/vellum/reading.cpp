#include "reading.h"

#include "cancel.h"
#include "failure.h"
#include "fileheader.h"
#include "messages.h"
#include "progress.h"

#include <QFile>
#include <QImageReader>

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

} // namespace

bool isHrleName(const QString &fileName) { return fileName.endsWith(QLatin1String(".hrle")); }

/// Tells how much of it has been read, and fails once the user has cancelled: a decoder has no
/// other way to show progress or to be stopped.
class PictureReader::InputFile : public QFile
{
public:
    using QFile::QFile;

    Progress *progress = nullptr;

protected:
    qint64 readData(char *data, qint64 size) override
    {
        if (cancelFlag())
            return -1;
        if (progress && !isSequential())
            progress->reportPart(pos(), this->size());
        return QFile::readData(data, size);
    }
};

PictureReader::PictureReader(const QString &fileName) : m_fileName(fileName)
{
    NoForcedEnd().setCurrentFile(fileName);
    if (isHrleName(fileName))
        openHrle();
    else
        openOther();
}

PictureReader::~PictureReader() = default;

void PictureReader::fail(const QString &reason) const
{
    if (cancelFlag())
        throw cancelled(m_fileName);
    throw Failure(InputError, m_fileName, reason);
}

void PictureReader::openHrle()
{
    const HrleCheck check = checkHrle(m_fileName);
    if (check.status != HrleCheck::Complete)
        fail(check.reason);
    m_header = {QStringLiteral("hrle"), {check.width, check.height}, QImage::Format_Grayscale8};
}

void PictureReader::openOther()
{
    m_file = std::make_unique<InputFile>(m_fileName);
    if (!m_file->open(QIODevice::ReadOnly))
        fail(m_file->errorString());
    if (isCutShort(*m_file))
        fail(QStringLiteral("the file is damaged or cut short"));

    const WarningLog log;
    m_reader = std::make_unique<QImageReader>(m_file.get());
    m_reader->setAutoTransform(true);
    if (!m_reader->canRead())
        fail(QStringLiteral("not a picture of a supported kind"));
    m_header.kind = QString::fromLatin1(m_reader->format());
    m_header.format = m_reader->imageFormat();
    m_header.size = m_reader->size();
    if (m_reader->transformation() & QImageIOHandler::TransformationRotate90)
        m_header.size.transpose();
}

Vellum PictureReader::read(Progress &progress)
{
    Vellum picture;
    const ProgressGuard guard = progress.watch(picture);
    if (!m_reader) {
        if (!HrleHandler().readFile(picture, m_fileName) || picture.isNull())
            fail(QStringLiteral("not enough memory for the picture"));
    } else {
        m_file->progress = &progress;
        const WarningLog log;
        const bool read = m_reader->read(&picture) && !picture.isNull();
        m_file->progress = nullptr;
        if (!read)
            fail(log.warnings().value(0, m_reader->errorString()));
        const QString incomplete = incompleteness(log.warnings());
        if (!incomplete.isEmpty())
            fail(incomplete);
    }
    if (cancelFlag())
        throw cancelled(m_fileName);
    return picture;
}

} // namespace vellum::tool
