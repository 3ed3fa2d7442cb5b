// The image that a write reads: rows in the encoding that a format takes, in the right colours.
#pragma once

#include "shared/rowencoding.h"
#include <vellum/io/handleroptions.h>

#include <vector>

class Vellum;

namespace vellum::plugin {

/// Applies the one colour rule of all formats.
///
/// RGB pixels of a Vellum are sRGB. With an RGB profile on the image they are converted to it, and
/// it is embedded (as they are when the QColorSpace of the image is that profile: then they are in
/// it already); without one, or with a profile of another colour space, nothing is embedded.
/// Grey pixels, and those of formats that loading does not convert (indexed, one-bit, packed,
/// premultiplied), are written as they are with the profile they carry. CMYK is written when the
/// image is being saved as CMYK, with the CMYK profile. Pixels of a plain QImage are written as
/// they are, with the profile of its QColorSpace.
class WriteSource
{
    Q_DISABLE_COPY(WriteSource)

public:
    explicit WriteSource(const QImage &image);

    /// The encoding that holds the pixels exactly; never Cmyk8.
    /// \param translucentTables  whether colour tables may have translucent colours
    Encoding naturalEncoding(bool translucentTables) const;

    /// Whether the image has a colour table, of opaque greys only.
    bool hasGreyTable() const;

    /// Whether the image is being saved as CMYK.
    bool wantsCmyk() const;

    /// Gets ready to give rows in \a encoding, in the colours of the image's profile if
    /// \a withProfile.
    /// \return false when CMYK is wanted and there is no profile for it
    [[nodiscard]] bool prepare(Encoding encoding, bool withProfile);

    /// Rows that are fetched from the image, at most, before the first of them is given out. An
    /// image whose rows come and go keeps that many behind the last one fetched.
    static constexpr int kMostRowsAhead = kRowsBehind;

    /// Row \a y in the encoding prepared, valid until the next call; null means stop. Polls every
    /// row, once and in order, but some rows ahead; call it for all rows in order.
    const uchar *row(int y);
    /// The same for a loop that walks up from the last row.
    const uchar *rowFromBelow(int y);

    /// The extra channels of row \a y, interleaved; null when there are none.
    const uchar *extra(int y) const;

    /// Size, colour table, profile, EXIF block (for upright pixels), resolution, offset,
    /// extra channels. Texts
    /// are those of textsToWrite(). After prepare().
    Picture picture(const QString &description) const;

private:
    struct Row
    {
        const uchar *row = nullptr; // as the image has it, then encoded
        RowBuffers buffers;
    };

    using Fetch = const uchar *(*)(const Vellum *, const QImage *, int);
    const uchar *nextRow(int y, int step, Fetch fetch);
    bool fillBatch(int y, int step, Fetch fetch);
    void encodeBatch();
    QByteArray profileFor(Encoding encoding) const;

    const QImage &m_image;
    Vellum *m_vellum; // null for a plain QImage
    RowEncoding m_encoding;
    QByteArray m_profile; // to embed
    const uchar *m_channels = nullptr;
    int m_channelCount = 0;
    int m_channelBits = 0;
    int m_channelStride = 0;
    std::vector<Row> m_batch;
    std::vector<RowWorker> m_workers;
    int m_filled = 0; // rows of the batch
    int m_given = 0; // of them
};

} // namespace vellum::plugin
