#include "tiff/stream.h"

#include <QBuffer>

#include <cstdarg>
#include <cstdio>
#include <limits>

namespace vellum::plugin::tiff {

// Silent until somebody asks for it, as with QT_LOGGING_RULES="vellum.plugin.*=true".
Q_LOGGING_CATEGORY(lcTiff, "vellum.plugin.tiff", QtFatalMsg)

namespace {

constexpr qint64 kMostBuffered = qint64(1) << 30;

QByteArray textOf(const char *module, const char *format, va_list arguments)
{
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    return module && *module ? QByteArray(module) + ": " + QByteArray(text) : QByteArray(text);
}

// The answer 1 keeps libtiff from calling its own handlers, which print.
int logError(TIFF *, void *, const char *module, const char *format, va_list arguments)
{
    qCWarning(lcTiff, "%s", textOf(module, format, arguments).constData());
    return 1;
}

int logWarning(TIFF *, void *, const char *module, const char *format, va_list arguments)
{
    qCDebug(lcTiff, "%s", textOf(module, format, arguments).constData());
    return 1;
}

Stream &streamOf(thandle_t handle) { return *static_cast<Stream *>(handle); }

tmsize_t readStream(thandle_t handle, void *out, tmsize_t bytes)
{
    return tmsize_t(streamOf(handle).read(out, bytes));
}

tmsize_t writeStream(thandle_t handle, void *data, tmsize_t bytes)
{
    return tmsize_t(streamOf(handle).write(data, bytes));
}

toff_t seekStream(thandle_t handle, toff_t offset, int whence)
{
    return streamOf(handle).seek(offset, whence);
}

toff_t sizeOfStream(thandle_t handle) { return toff_t(streamOf(handle).size()); }

int deleteStream(thandle_t handle)
{
    delete &streamOf(handle);
    return 0;
}

int leaveStream(thandle_t) { return 0; }

struct FreeOptions
{
    void operator()(TIFFOpenOptions *options) const noexcept { TIFFOpenOptionsFree(options); }
};

/// \param mostBytes  of one allocation
Handle open(Stream &stream, const char *mode, qint64 mostBytes, TIFFCloseProc close)
{
    const std::unique_ptr<TIFFOpenOptions, FreeOptions> options(TIFFOpenOptionsAlloc());
    if (!options)
        return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), logError, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), logWarning, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), tmsize_t(mostBytes));
    return Handle(TIFFClientOpenExt("", mode, &stream, readStream, writeStream, seekStream, close,
                                    sizeOfStream, nullptr, nullptr, options.get()));
}

} // namespace

bool Stream::moveDevice()
{
    const qint64 at = m_start + m_at;
    return m_device.pos() == at || m_device.seek(at);
}

qint64 Stream::read(void *out, qint64 bytes)
{
    if (bytes <= 0 || m_at >= Stream::size() || !moveDevice())
        return 0;
    const qint64 got = m_device.read(static_cast<char *>(out), bytes);
    m_at += qMax(got, qint64(0));
    return got;
}

qint64 Stream::write(const void *data, qint64 bytes)
{
    if (!moveDevice())
        return -1;
    qint64 done = 0;
    while (done < bytes) {
        const qint64 taken = m_device.write(static_cast<const char *>(data) + done, bytes - done);
        if (taken <= 0)
            break;
        done += taken;
    }
    m_at += done;
    return done;
}

toff_t Stream::seek(toff_t offset, int whence)
{
    qint64 from = 0;
    if (whence == SEEK_CUR)
        from = m_at;
    else if (whence == SEEK_END)
        from = size();
    constexpr auto kMost = toff_t(std::numeric_limits<qint64>::max() / 4);
    const bool isBack = whence != SEEK_SET && qint64(offset) < 0;
    if (!isBack && offset > kMost)
        return toff_t(-1);
    const qint64 to = from + qint64(offset);
    if (to < 0)
        return toff_t(-1);
    m_at = to;
    return toff_t(to);
}

qint64 WriteStream::read(void *out, qint64 bytes)
{
    if (m_device.isReadable())
        return Stream::read(out, bytes);
    auto piece = m_kept.upper_bound(m_at);
    if (bytes <= 0 || piece == m_kept.begin())
        return 0;
    --piece;
    const qint64 skipped = m_at - piece->first;
    const qint64 given = qMin(bytes, piece->second.size() - skipped);
    if (given <= 0)
        return 0;
    std::copy_n(piece->second.constData() + skipped, given, static_cast<char *>(out));
    m_at += given;
    return given;
}

qint64 WriteStream::write(const void *data, qint64 bytes)
{
    const qint64 at = m_at;
    const qint64 written = Stream::write(data, bytes);
    m_end = qMax(m_end, m_at);
    if (!m_keeps || m_device.isReadable() || written <= 0)
        return written;
    // A link between directories is written into one that is kept already.
    auto piece = m_kept.upper_bound(at);
    if (piece != m_kept.begin()) {
        --piece;
        const qint64 skipped = at - piece->first;
        if (skipped + written <= piece->second.size()) {
            piece->second.replace(int(skipped), int(written), static_cast<const char *>(data),
                                  int(written));
            return written;
        }
    }
    m_kept[at] = QByteArray(static_cast<const char *>(data), int(written));
    return written;
}

bool WriteStream::leaveAtEnd()
{
    m_at = m_end;
    return moveDevice();
}

Handle openToRead(QIODevice &device, qint64 start)
{
    auto stream = std::make_unique<Stream>(device, start);
    // What libtiff takes in one piece is part of the file or a table of it, widened at most four
    // times, or a row.
    constexpr qint64 kRow = 64 << 20;
    Handle handle = open(*stream, "rmC", 4 * stream->size() + kRow, deleteStream);
    if (handle)
        static_cast<void>(stream.release()); // closing the handle deletes it
    return handle;
}

Handle openToWrite(WriteStream &stream, bool big)
{
    return open(stream, big ? "w8" : "w", 0, leaveStream);
}

std::unique_ptr<QIODevice> buffered(QIODevice &device)
{
    QByteArray bytes;
    QByteArray part(1 << 20, Qt::Uninitialized);
    for (;;) {
        const qint64 got = device.read(part.data(), part.size());
        if (got > 0 && bytes.size() + got <= kMostBuffered)
            bytes.append(part.constData(), int(got));
        else if (got > 0)
            return nullptr;
        else if (got < 0 || !device.waitForReadyRead(-1))
            break;
    }
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    return buffer;
}

} // namespace vellum::plugin::tiff
