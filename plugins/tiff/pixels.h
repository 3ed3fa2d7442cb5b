// Rows of samples as rows of an image.
#pragma once

#include "tiff/layout.h"

#include <QImage>
#include <QVector>

#include <memory>

namespace vellum::plugin::tiff {

/// What the pixels of a layout become.
struct PixelKind
{
    QImage::Format format = QImage::Format_Invalid;
    unsigned int inputColors = 0; ///< lcms2's code, for pixels that are CMYK or Lab at first
    QVector<QRgb> colorTable; ///< for Mono and Indexed8

    /// Rows that are bits go to the image as they are: they have no samples to convert.
    bool isBits() const { return format == QImage::Format_Mono; }
};

/// The colours of a palette, 16 bits per sample.
struct Palette
{
    QVector<quint16> red;
    QVector<quint16> green;
    QVector<quint16> blue;
};

/// The palette of the current directory; empty when it has none.
Palette readPalette(TIFF *tiff, int bits);

PixelKind pixelKind(const Layout &layout, const Palette &palette);

/// Whether samples are scaled to 8 or 16 bits before they are converted: all but indices are.
bool needsScaling(const Layout &layout);

/// \a T is the type of a sample: \c uchar or \c quint16.
template <typename T>
class PixelConverter
{
    Q_DISABLE_COPY(PixelConverter)

public:
    PixelConverter() = default;
    virtual ~PixelConverter() = default;

    /// \param out  \a count pixels of the format, or of the input colours, of the kind
    /// \param in   all samples of each pixel, one pixel after the other
    virtual void convert(uchar *out, const T *in, int count) const = 0;
};

/// \param tiff  at the directory, for the numbers that define its colours
template <typename T>
std::unique_ptr<PixelConverter<T>> makePixelConverter(TIFF *tiff, const Layout &layout,
                                                      const Palette &palette);

extern template std::unique_ptr<PixelConverter<uchar>> makePixelConverter(TIFF *, const Layout &,
                                                                          const Palette &);
extern template std::unique_ptr<PixelConverter<quint16>> makePixelConverter(TIFF *, const Layout &,
                                                                            const Palette &);

} // namespace vellum::plugin::tiff
