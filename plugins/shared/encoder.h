// What a format supplies for writing: its header, rows one at a time, its end.
#pragma once

#include "shared/picture.h"

namespace vellum::plugin {

/// How the pixels of a row lie when they are handed to an encoder. Samples of 16 bits are in the
/// byte order of this machine.
enum class Encoding {
    Mono, ///< 1 bit, leftmost pixel in the highest bit; colours in the picture's table
    Indexed8, ///< 1 byte; colours in the picture's table
    Gray8,
    Gray16,
    Rgb8, ///< R, G, B
    Rgba8, ///< R, G, B, A; not premultiplied
    Rgb16,
    Rgba16,
    Cmyk8, ///< C, M, Y, K; 255 is full ink
};

/// What the user asked of a writer, as QImageIOHandler's options.
struct WriteOptions
{
    int quality = -1; ///< 0 to 100; -1 for the format's default
    int compression = -1; ///< 0 to 100; -1 for the format's default
    QByteArray subType;
    bool optimized = false;
    bool progressive = false;
};

/// Encodes one picture. Made for a device by a handler; calls come in the order of declaration.
/// Errors are reported as by Decoder.
class Encoder
{
    Q_DISABLE_COPY(Encoder)

public:
    Encoder() = default;
    virtual ~Encoder() = default;

    /// The encoding in which the format takes pixels whose own encoding is \a natural, which is
    /// never Cmyk8.
    virtual Encoding encodingFor(Encoding natural) const = 0;

    /// Whether the format takes Cmyk8. If not, an image that is to be saved as CMYK is written in
    /// its own colours.
    virtual bool takesCmyk() const;

    /// Whether the format can hold a profile. If not, RGB pixels are written in sRGB.
    virtual bool takesProfile() const;

    /// Whether the format takes colour tables with translucent colours. If not, an image with one
    /// is written in Rgba8.
    virtual bool takesTranslucentTables() const;

    /// Whether the last row is to come first.
    virtual bool bottomUp() const;

    /// Called once, with all that will be written; more than one only in a format that has pages.
    virtual void announce(const QVector<const QImage *> &pages);

    /// Writes all that stands before the pixels. \a picture.format is of no account here.
    [[nodiscard]] virtual bool writeHeader(const Picture &picture, Encoding encoding) = 0;

    /// \param extra  the row's extra channels, interleaved; null when the picture has none
    [[nodiscard]] virtual bool writeRow(const uchar *row, const uchar *extra) = 0;

    /// Writes all that follows the pixels. The header of another page may come next.
    [[nodiscard]] virtual bool writeEnd() = 0;

    /// Called once, after the last page.
    [[nodiscard]] virtual bool finish();
};

inline bool Encoder::takesCmyk() const { return false; }
inline bool Encoder::takesProfile() const { return true; }
inline bool Encoder::takesTranslucentTables() const { return true; }
inline bool Encoder::bottomUp() const { return false; }
inline void Encoder::announce(const QVector<const QImage *> &) { }
inline bool Encoder::finish() { return true; }

} // namespace vellum::plugin
