// Writing a Vellum through Qt's image-format plugins.
#pragma once

#include <vellum/export.h>

#include <QByteArray>
#include <QImageIOHandler>
#include <QImageWriter>
#include <QList>
#include <QString>

#include <memory>

class QIODevice;
class Vellum;

/// Writes images as QImageWriter does, but hands the Vellum itself to the format plugin, which
/// reads it row by row: big images are written without a contiguous copy.
///
/// Formats are those of installed image-format plugins. Unlike QImageWriter this class has no
/// writers of its own: without a plugin there is no PNG either. Only a plugin that knows Vellum
/// (vellum's own do) can write a big image; another one would find no pixels. See
/// vellum::saveImage() for a function that looks after that and replaces files safely.
///
/// \par Options
/// A setter keeps its value for the next write(), which passes it on if the format has such an
/// option. A getter asks the format's handler once there is one (after canWrite(),
/// supportsOption() or write()) and it knows the option, else returns what was set; gamma() asks
/// any handler.
///
/// \par Size only
/// A gamma above 9 asks the handler for the size that the file would have: the device is neither
/// tested nor opened, and gamma() then returns the size in bytes, if the handler knows how (a
/// \c float, exact up to 16777216). 10.0 is the agreed value.
///
/// \par Threads
/// A writer belongs to one thread at a time; the static functions may be called from any.
///
/// \code
/// QImageWriterEx writer("scan.png");
/// if (!writer.write(image))
///     qWarning() << writer.errorString();
/// \endcode
class VELLUM_EXPORT QImageWriterEx
{
    Q_DISABLE_COPY(QImageWriterEx)

public:
    QImageWriterEx(); ///< Needs a device or file name before it can write.

    /// Writes \a format to \a device, which stays the caller's and is opened by the first write.
    QImageWriterEx(QIODevice *device, const QByteArray &format);

    /// Writes to the file \a fileName; without \a format, the kind its suffix says.
    explicit QImageWriterEx(const QString &fileName, const QByteArray &format = QByteArray());

    ~QImageWriterEx();

    /// \name Where to
    /// @{

    /// The format's name, such as "png", in any case. Empty for what the file's suffix says. A
    /// handler that was made already stays; set a device to have another one made.
    void setFormat(const QByteArray &format);
    QByteArray format() const;

    void setDevice(QIODevice *device); ///< Drops the handler too; \a device stays the caller's.
    QIODevice *device() const;

    void setFileName(const QString &fileName); ///< As setDevice() with a file of the writer's own.
    QString fileName() const; ///< Empty when the device is not a file.
    /// @}

    /// \name Options
    /// @{
    void setQuality(int quality); ///< Usually 0 to 100; -1 at first: the format's default.
    int quality() const;

    void setCompression(int compression); ///< The format's own scale; -1 at first: its default.
    int compression() const;

    void setGamma(float gamma); ///< 0 at first; above 9 for the size only, see the class.
    float gamma() const;

    void setDescription(const QString &description); ///< Passed on unless empty.
    QString description() const;

    void setSubType(const QByteArray &type); ///< Passed on unless empty.
    QByteArray subType() const;

    void setOptimizedWrite(bool optimize);
    bool optimizedWrite() const;

    void setProgressiveScanWrite(bool progressive);
    bool progressiveScanWrite() const;

    /// Kept, but never passed on: formats get the pixels as they are.
    void setTransformation(QImageIOHandler::Transformations transformation);
    QImageIOHandler::Transformations transformation() const;

    void setText(const QString &text); ///< Kept for text(), and used for nothing else.
    void setText(const QString &key, const QString &text); ///< Appends a line "key: text".
    QString text() const;
    /// @}

    /// Whether the device can be written to, which opens it, and the format is known.
    /// A file that this created is removed when the answer is no.
    bool canWrite() const;

    /// Writes \a image, which is neither converted nor copied.
    ///
    /// The image's progress callback is polled by handlers that know Vellum, on this thread.
    /// \return false on failure. A file that was created for a write that could not start is
    ///         removed; one whose writing failed midway stays as it is. error() and errorString()
    ///         say why, but for a failure in the handler, which sets neither
    bool write(const Vellum &image);

    QImageWriter::ImageWriterError error() const; ///< UnknownError at first.
    QString errorString() const; ///< For people, translated in the context "QImageWriterEx".

    /// Whether the format has \a option; false, with an error, when there is no such format.
    bool supportsOption(QImageIOHandler::ImageOption option) const;

    /// \name What can be asked for
    /// The names that the installed plugins state, and those of the common simple formats, whether
    /// or not a plugin writes them; sorted.
    /// @{
    static QList<QByteArray> supportedImageFormats();
    static QList<QByteArray> supportedMimeTypes(); ///< "image/png" and so on.

    /// The formats of \a mimeType, which starts with "image/"; the simple formats first.
    static QList<QByteArray> imageFormatsForMimeType(const QByteArray &mimeType);
    /// @}

private:
    struct Private;
    std::unique_ptr<Private> d;
};
