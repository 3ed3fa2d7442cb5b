#include <vellum/image/heldattachments_p.h>
#include <vellum/image/rowwindow_p.h>
#include <vellum/io/encoding_p.h>
#include <vellum/io/limitcheck_p.h>
#include <vellum/io/pagerequest_p.h>
#include <vellum/io/picturefile_p.h>
#include <vellum/io/readingthread_p.h>
#include <vellum/io/streampicture.h>
#include <vellum/io/striprows_p.h>
#include <vellum/io/upright_p.h>

#include <optional>

namespace vellum {

namespace {

using image::RowWindow;
using io::JobProgress;
using io::RowFlow;
using io::RowHandover;
using Side = RowHandover::Side;

/// How far reading may be ahead of writing: as many rows as are this large, but some in any case.
constexpr qint64 kAheadBytes = 16 << 20;
constexpr qint64 kLeastAhead = 8;

/// Rows to hold of a picture, within \a memory bytes if that is enough.
int windowRows(const QSize &size, QImage::Format format, qint64 memory)
{
    constexpr qint64 kBehind = kRowsBehind + 1;
    const qint64 rowBytes = qMax<qint64>(1, pixelBytes({size.width(), 1}, format));
    const qint64 aheadBytes = qMin(kAheadBytes, memory - kBehind * rowBytes);
    return int(qMin<qint64>(kBehind + qMax(kLeastAhead, aheadBytes / rowBytes), size.height()));
}

/// One call of streamPicture().
class Streaming
{
    Q_DISABLE_COPY(Streaming)

public:
    Streaming(PictureFile::Private &file, const OpenOptions &openOptions, QIODevice &device,
              const SaveOptions &saveOptions, const RowConversion &conversion)
        : m_file(file), m_openOptions(openOptions), m_device(device), m_saveOptions(saveOptions),
          m_conversion(conversion), m_reading(openOptions.progress, openOptions.cancel, Vellum()),
          m_writing(saveOptions.progress, saveOptions.cancel, Vellum())
    {
    }

    StreamResult run()
    {
        StreamResult result;
        result.obstacle = obstacle();
        if (result.obstacle.isEmpty() && !stream(result))
            result.obstacle = lackOfMemory();
        if (result.outcome == StreamResult::NotPossible && m_request)
            m_request->withdraw();
        return result;
    }

private:
    static QString lackOfMemory() { return QStringLiteral("not enough memory for its rows"); }

    /// Finds out whether it is possible, and makes ready. \return why not; empty when it is
    QString obstacle()
    {
        if (!m_file.decoder || !m_file.result)
            return m_file.result.message;
        if (m_openOptions.format != OpenedFormat::AsDecoded ||
            m_openOptions.colors != PixelColors::FileOwn)
            return QStringLiteral("its format or its colours are to be changed");
        if (m_saveOptions.sizeOnly)
            return QStringLiteral("nothing is to be written");
        m_request.emplace(*m_file.decoder, m_openOptions);
        const OpenResult request = m_request->make();
        if (!request)
            return request.message;
        if (m_request->info().transformation != QImageIOHandler::TransformationNone)
            return QStringLiteral("it has to be turned upright");
        if (m_request->cuts() || m_request->scales())
            return QStringLiteral("its decoder gives all of it only");
        const QString fault = encoderFault();
        return fault.isEmpty() ? flowFault() : fault;
    }

    QString encoderFault()
    {
        if (!m_device.isWritable())
            return QStringLiteral("not open for writing");
        m_encoder = io::findEncoder(m_saveOptions.format, m_device);
        const SaveResult check =
            io::checkEncoder(m_encoder, m_request->decodedSize(), m_saveOptions);
        if (!check)
            return check.message;
        m_order = io::writeOrder(m_encoder, m_device, m_saveOptions);
        return m_order == RowOrder::None
            ? QStringLiteral("files of kind %1 are not written row by row")
                  .arg(QString::fromLatin1(m_encoder.format))
            : QString();
    }

    QString flowFault()
    {
        m_flow = m_file.decoder->rowFlow();
        if (m_flow.order == RowOrder::None)
            return QStringLiteral("it is not decoded row by row");
        if (m_flow.order != m_order)
            return QStringLiteral("its rows come in another order than files of kind %1 take")
                .arg(QString::fromLatin1(m_encoder.format));
        const QSize size = m_request->decodedSize();
        const Limits limits = m_openOptions.limits.value_or(defaultLimits());
        const int rows = windowRows(size, m_flow.format, limits.memory);
        const QString excess = io::limitFault(size, m_flow.format, {limits.pixels, Limits::kNone});
        if (!excess.isEmpty())
            return excess;
        const QString rowsExcess =
            io::limitFault({size.width(), rows}, m_flow.format, {Limits::kNone, limits.memory});
        if (!rowsExcess.isEmpty())
            return rowsExcess;
        m_height = size.height();
        return m_window.make(size, m_flow.format, rows) ? QString() : lackOfMemory();
    }

    /// \return false when it did not even start
    bool stream(StreamResult &result)
    {
        m_handover.emplace(m_window.rows());
        io::ReadingThread reading(*m_file.decoder, m_openOptions, m_flow, m_window, *m_handover);
        if (!reading.start())
            return false;
        m_file.info = io::uprightInfo(m_request->info());
        m_reading.beginStage(100);
        m_writing.beginStage(100);
        result.saved = write(reading.image());
        if (!result.saved)
            m_handover->stop(Side::User);
        result.opened = reading.finish();

        if (m_reading.isCancelled())
            result.opened = io::cancelledReading(result.opened);
        if (m_reading.isCancelled() || m_handover->isStoppedBy(Side::Maker)) {
            result.outcome = StreamResult::ReadingFailed;
            result.saved = notRead();
        } else {
            result.outcome = result.saved ? StreamResult::Done : StreamResult::WritingFailed;
        }
        return true;
    }

    static SaveResult notRead()
    {
        return io::saveFailure(FileStatus::NotWritten,
                               QStringLiteral("the picture could not be read"));
    }

    /// Writes what \a image describes, whose rows are being read.
    SaveResult write(Vellum &image)
    {
        if (!waitForRows(0))
            return stopped();
        if (m_conversion || io::changesPixels(image, m_saveOptions))
            return writeConverted(image);
        const SaveResult described = io::changeColors(image, m_saveOptions, m_writing);
        if (!described)
            return described;
        m_writing.gateRows([this](int rows) {
            m_handover->release(rows - 1 - kRowsBehind);
            return waitForRows(rows);
        });
        return encode(image);
    }

    SaveResult writeConverted(const Vellum &source)
    {
        SaveResult converted;
        io::StripRows strips(source, m_window, m_order,
                             [&](const Vellum &strip) { return convert(strip, converted); });
        const auto convertTo = [&](int rows) {
            while (strips.rowsConverted() < rows) {
                if (!waitForRows(strips.rowsNeeded()))
                    return false;
                if (!strips.convertNext()) {
                    if (converted)
                        converted = io::saveFailure(FileStatus::NotWritten,
                                                    QStringLiteral("its rows cannot be converted"));
                    return false;
                }
                m_handover->release(strips.rowsConverted());
            }
            return true;
        };
        if (!convertTo(1))
            return converted ? stopped() : converted;
        image::copyExif(strips.image(), source);
        m_writing.gateRows(convertTo);
        const SaveResult written = encode(strips.image());
        return converted ? written : converted;
    }

    /// Null when it fails; \a result says why, where that is known.
    Vellum convert(const Vellum &strip, SaveResult &result) const
    {
        Vellum changed = m_conversion ? m_conversion(strip) : strip;
        if (changed.isNull())
            return changed;
        JobProgress unseen({}, m_saveOptions.cancel, Vellum());
        result = io::changeColors(changed, m_saveOptions, unseen);
        return result ? changed : Vellum();
    }

    SaveResult encode(Vellum &image)
    {
        io::matchColorSpace(image);
        const qint64 start = m_device.isSequential() ? 0 : m_device.pos();
        SaveResult result = io::encode(image, m_encoder, m_device, m_saveOptions, m_writing);
        if (!result)
            return result;
        m_handover->release(m_height);
        if (!waitForRows(m_height) || !m_writing.poll(1))
            return stopped();
        if (!m_device.isSequential())
            result.bytes = m_device.pos() - start;
        return result;
    }

    SaveResult stopped() const
    {
        if (!m_writing.isCancelled())
            return notRead();
        return io::saveFailure(FileStatus::Cancelled, QStringLiteral("cancelled"));
    }

    bool waitForRows(int rows)
    {
        const auto fraction = [this](int made) { return double(made) / m_height; };
        const auto idle = [&](int made) {
            return m_reading.poll(fraction(made)) && m_writing.poll();
        };
        return m_handover->waitForRows(rows, idle) && m_reading.poll(fraction(rows));
    }

    PictureFile::Private &m_file;
    const OpenOptions &m_openOptions;
    QIODevice &m_device;
    const SaveOptions &m_saveOptions;
    const RowConversion &m_conversion;
    JobProgress m_reading;
    JobProgress m_writing;
    std::optional<io::PageRequest> m_request;
    io::Encoder m_encoder;
    RowOrder m_order = RowOrder::None;
    RowFlow m_flow;
    RowWindow m_window;
    int m_height = 0;
    std::optional<RowHandover> m_handover;
};

} // namespace

StreamResult streamPicture(PictureFile &file, const OpenOptions &openOptions, QIODevice &device,
                           const SaveOptions &saveOptions, const RowConversion &conversion)
{
    return Streaming(PictureFile::Private::of(file), openOptions, device, saveOptions, conversion)
        .run();
}

} // namespace vellum
