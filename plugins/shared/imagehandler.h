// The QImageIOHandler behind every format: options, the order of calls, images of both kinds.
#pragma once

#include "shared/decoder.h"
#include "shared/encoder.h"
#include "shared/readplan.h"
#include <vellum/io/handleroptions.h>

#include <QImageIOHandler>
#include <QLoggingCategory>
#include <QSet>

#include <memory>

namespace vellum::plugin {

using vellum::kEncodedSize;
using vellum::kReadFormat;
using vellum::kReadOrder;
using vellum::kRowsRead;
using vellum::kStoredColors;
using vellum::kStoredProfile;
using vellum::kStoredResolution;
using vellum::kWriteOrder;
using vellum::RowOrder;
using vellum::StoredColors;

/// A format subclasses this and supplies a decoder and an encoder.
///
/// Reading. The header is read when it is first needed, by an option or by read(), which leaves
/// the device behind the picture. Options set before a read are kept for the next. Failures are
/// logged in the format's category and nowhere else.
///
/// A scaled read averages rows as they come and never holds the full picture. An interlaced one is
/// the exception: its rows are complete only at the end, so the part of it that is wanted is
/// gathered in memory first, within what the size of the file justifies.
///
/// Writing. With the option Gamma above 9, write() does not touch the device: it encodes, finds
/// the size, and answers it from then on as Gamma (a float, exact to 16,777,216 bytes) and as
/// kEncodedSize.
class ImageHandler : public QImageIOHandler
{
public:
    /// Whether the device stands at a file of this format; only peeks.
    bool canRead() const override;
    bool read(QImage *image) override;
    bool write(const QImage &image) override;

    bool supportsOption(ImageOption option) const override;
    QVariant option(ImageOption option) const override;
    void setOption(ImageOption option, const QVariant &value) override;

protected:
    /// \param category  of the format's messages; must outlive the handler
    /// \param options   what the format has beyond what every format has: Size, ImageFormat,
    ///                  ClipRect, ScaledSize, ScaledClipRect, Gamma (see above) and
    ///                  ImageTransformation
    ImageHandler(const QLoggingCategory &category, const QSet<ImageOption> &options);

    /// \name What a format supplies
    /// @{
    virtual bool recognises(QIODevice &device) const = 0; ///< Only peeks.
    virtual std::unique_ptr<Decoder> makeDecoder(QIODevice &device) const = 0;
    /// Null when the format cannot be written.
    virtual std::unique_ptr<Encoder> makeEncoder(QIODevice &device,
                                                 const WriteOptions &options) const = 0;
    virtual QList<QByteArray> subTypes() const; ///< For writing; empty, as here, for none.
    /// The images that are written with \a image, a page each; itself alone, as here.
    virtual QVector<const QImage *> pagesOf(const QImage &image) const;
    /// @}

    /// \name For formats with several pictures in a file
    /// @{
    Decoder *decoder(); ///< With its header read; null when there is nothing to read.
    const Picture *picture() const; ///< The header; null when there is nothing to read.
    void forgetHeader(); ///< The next option or read() reads a header again.
    /// @}

    const QLoggingCategory &category() const { return m_category; }

private:
    enum class State { Fresh, HeaderRead, PixelsRead, Failed };

    bool ensureHeader() const;
    QImage::Format readFormat() const;
    RowOrder readOrder() const;
    RowOrder writeOrder() const;
    QVariant storedFact(ImageOption option) const;
    QVariant fromHeader(ImageOption option) const;
    bool writePages(const QImage &image, QIODevice &device) const;
    bool writeTransformed(const QImage &image, Encoder &encoder) const;
    bool encode(const QImage &image, Encoder &encoder) const;

    const QLoggingCategory &m_category;
    QSet<ImageOption> m_options;
    ReadRequest m_request;
    WriteOptions m_writeOptions;
    QString m_description; // to write
    Transformations m_transformation = TransformationNone; // to write
    float m_gamma = 0;
    qint64 m_encodedSize = -1; // known after a write for the size only
    int m_rowsRead = 0;

    // The header is read behind option(), which is const.
    mutable State m_state = State::Fresh;
    mutable std::unique_ptr<Decoder> m_decoder;
    mutable Picture m_picture;
    mutable qint64 m_fileBytes = -1; // from the header on
};

} // namespace vellum::plugin
