// A device as libtiff reads and writes it, and the handle that libtiff makes of it.
#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QLoggingCategory>

#include <map>
#include <memory>
#include <tiffio.h>

namespace vellum::plugin::tiff {

Q_DECLARE_LOGGING_CATEGORY(lcTiff)

struct CloseTiff
{
    void operator()(TIFF *tiff) const noexcept { TIFFClose(tiff); }
};

/// libtiff's handle. Its messages go to the category "vellum.plugin.tiff".
using Handle = std::unique_ptr<TIFF, CloseTiff>;

/// The bytes of a file: a part of a device, from a position to its end.
class Stream
{
    Q_DISABLE_COPY(Stream)

public:
    /// \param device  random-access; must outlive the stream
    explicit Stream(QIODevice &device, qint64 start) : m_device(device), m_start(start) { }
    virtual ~Stream() = default;

    virtual qint64 read(void *out, qint64 bytes);
    virtual qint64 write(const void *data, qint64 bytes);
    toff_t seek(toff_t offset, int whence);
    virtual qint64 size() const { return m_device.size() - m_start; }

protected:
    bool moveDevice();

    QIODevice &m_device;
    const qint64 m_start;
    qint64 m_at = 0; // from m_start; handles that share a device each have their own
};

/// Opens the file that starts at \a start of \a device; null when it is no TIFF.
Handle openToRead(QIODevice &device, qint64 start);

/// A stream to write to; what the device held before is of no account. libtiff reads back
/// directories, which it chains, never pixels: with a device that cannot be read, they are kept
/// here.
class WriteStream : public Stream
{
public:
    using Stream::Stream;

    qint64 read(void *out, qint64 bytes) override;
    qint64 write(const void *data, qint64 bytes) override;

    qint64 size() const override { return m_end; } ///< Of what was written.

    /// Moves the device behind all that was written.
    [[nodiscard]] bool leaveAtEnd();

    /// Whether what is written now may be read back.
    void setKeeping(bool keep) { m_keeps = keep; }

private:
    std::map<qint64, QByteArray> m_kept; // by position
    bool m_keeps = true;
    qint64 m_end = 0;
};

/// Starts a file in \a stream, which must outlive the handle. \param big  64-bit offsets
Handle openToWrite(WriteStream &stream, bool big);

/// A random-access device with all that \a device, a sequential one, still gives; null when that
/// is more than memory should hold.
std::unique_ptr<QIODevice> buffered(QIODevice &device);

} // namespace vellum::plugin::tiff
