// The image that a write reads: rows in the encoding that a format takes, in the right colours.
#pragma once

#include "shared/encoder.h"
#include <vellum/color/lcmsmanager.h>

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

    /// Whether the image is being saved as CMYK.
    bool wantsCmyk() const;

    /// Gets ready to give rows in \a encoding, in the colours of the image's profile if
    /// \a withProfile.
    /// \return false when CMYK is wanted and there is no profile for it
    [[nodiscard]] bool prepare(Encoding encoding, bool withProfile);

    /// Row \a y in the encoding prepared, valid until the next call; null means stop. Polls; call
    /// it for all rows in order.
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
    const uchar *encoded(const uchar *row);
    const uchar *converted(const uchar *row);
    const uchar *inCmyk(const uchar *row);
    void prepareColors();
    QByteArray profileFor(Encoding encoding) const;
    int width() const { return m_image.width(); }

    const QImage &m_image;
    Vellum *m_vellum; // null for a plain QImage
    Encoding m_encoding = Encoding::Rgb8;
    QImage::Format m_rowFormat; // in which rows leave the image's own
    QByteArray m_profile; // to embed
    bool m_toProfile = false; // rows go from sRGB to it
    CVlLcmsManager m_manager;
    const uchar *m_channels = nullptr;
    int m_channelCount = 0;
    int m_channelBits = 0;
    int m_channelStride = 0;
    std::vector<uchar> m_colors; // a row in its profile
    std::vector<uchar> m_whole; // a row that the image stores only in part
    std::vector<uchar> m_inks;
    QImage m_converted; // a row in m_rowFormat
};

} // namespace vellum::plugin
