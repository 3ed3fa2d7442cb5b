#include "pipeline.h"

#include "messages.h"
#include "rows.h"
#include "writing.h"

namespace vellum::tool {

namespace {

constexpr int kReadEnd = 50; // percent, as are the next
constexpr int kStagesEnd = 72;
constexpr int kPreparedEnd = 75;

QElapsedTimer startedClock()
{
    QElapsedTimer clock;
    clock.start();
    return clock;
}

QString seconds(qint64 milliseconds)
{
    return QString::number(double(milliseconds) / 1000, 'f', 3);
}

} // namespace

Pipeline::Pipeline(const FileOptions &options, const FileJob &job, ProgressBoard &board)
    : m_options(options), m_job(job), m_kind(outputKind(job.output)), m_clock(startedClock()),
      m_reader(job.input), m_output(job.output, options.existing), m_progress(board, job.input)
{
}

void Pipeline::checkFits(const QSize &size) const { tool::checkFits(m_kind, size, m_job.output); }

Vellum Pipeline::read(const ReadWishes &wishes)
{
    m_progress.begin("read", 0, kReadEnd);
    m_percent = kReadEnd;
    Vellum picture = m_reader.read(m_progress, completed(wishes));
    m_isWhole = m_reader.damage().isEmpty();
    tell(m_job.input, "read", picture);
    const int channels = m_reader.channelsLeftOut();
    if (channels > 0 && m_kind.startsWith("tif")) { // no other kind could have kept them
        printNotice(QStringLiteral("%1: its extra channels, %2, are left out; see vellum channels")
                        .arg(m_job.input, QString::number(channels)));
    }
    return picture;
}

ReadWishes Pipeline::completed(ReadWishes wishes) const
{
    wishes.storage = m_options.storage;
    wishes.keepDamaged = m_options.keepGoing;
    return wishes;
}

WriteWishes Pipeline::completed(WriteWishes wishes) const
{
    wishes.exif = m_reader.exif();
    wishes.encoding = m_options.encoding;
    return wishes;
}

bool Pipeline::stream(const ReadWishes &reading, const QSize &size, const WriteWishes &writing,
                      const RowConversion &conversion)
{
    if (m_kind.isEmpty() || m_options.storage != Storage::Auto)
        return false;
    m_progress.begin("convert", 0, 100);
    if (!m_reader.stream(completed(reading), size.height(), m_output,
                         saveOptions(completed(writing), m_kind, m_progress), conversion))
        return false;
    m_isWhole = m_reader.damage().isEmpty();
    m_output.commit();
    printVerbose(QStringLiteral("%1: %2 x %3, written while it was read in %4 s")
                     .arg(m_job.output, QString::number(size.width()),
                          QString::number(size.height()), seconds(m_clock.elapsed())));
    tellDamage();
    return true;
}

Progress &Pipeline::begin(const char *name)
{
    const auto percentAt = [this](int stage) {
        return kReadEnd + (kStagesEnd - kReadEnd) * qMin(stage, m_stages) / m_stages;
    };
    m_progress.begin(name, m_percent, percentAt(++m_stage));
    m_percent = percentAt(m_stage);
    return m_progress;
}

void Pipeline::move(Vellum &picture)
{
    if (m_options.storage == Storage::Auto)
        return; // it lies already where it takes no more memory
    picture = arranged(picture, picture.format(), m_options.storage, m_progress);
    if (picture.isNull())
        m_output.fail(QStringLiteral("not enough memory for the picture"));
}

vellum::Storage Pipeline::storageFor(const QSize &size, QImage::Format format) const
{
    const bool big = chooseStorage(m_options.storage, pixelBytes(size, format)) == Storage::Big;
    return big ? vellum::Storage::Big : vellum::Storage::Plain;
}

Vellum Pipeline::finished(Vellum result, const char *done)
{
    if (result.isNull())
        m_output.fail(QStringLiteral("not enough memory for the picture"));
    tell(m_job.output, done, result);
    return result;
}

void Pipeline::write(Vellum &picture, const WriteWishes &wishes, const char *preparing)
{
    checkFits(picture.size());
    m_progress.begin(preparing, m_percent, kPreparedEnd);
    picture = prepared(picture, m_kind, m_options.storage, m_progress, m_output);
    tell(m_job.output, "converted", picture);

    m_progress.begin("write", kPreparedEnd, 100);
    writePicture(picture, completed(wishes), m_kind, m_progress, m_output);
    m_output.commit();
    tell(m_job.output, "written", picture);
    tellDamage();
}

void Pipeline::tellDamage()
{
    if (!m_isWhole)
        printError({Partial, m_job.input, m_reader.damage()});
}

void Pipeline::tell(const QString &file, const char *done, const Vellum &picture)
{
    printVerbose(
        QStringLiteral("%1: %2, %3 in %4 s")
            .arg(file, described(picture), QLatin1String(done), seconds(m_clock.restart())));
}

} // namespace vellum::tool
