// Conversions that remember earlier rows: dithering and palette building.
#pragma once

#include <vellum/convert/monodither_p.h>

#include <QImage>
#include <QVector>

#include <memory>

namespace vellum::convert {

/// Turns the rows of one image, from top to bottom, into rows of another format.
class RowConverter
{
    Q_DISABLE_COPY(RowConverter)

public:
    /// Rows of a call; only the last call for an image may bring fewer.
    static constexpr int kGroup = MonoDither::kGroup;

    virtual ~RowConverter();

    /// \return false when this converter cannot go on, see PaletteRows
    virtual bool convert(uchar *const *out, const uchar *const *in, int count) = 0;

    /// The colour table of the rows converted so far.
    virtual QVector<QRgb> colors() const = 0;

protected:
    RowConverter() = default;
};

/// \name The converters. Null when memory runs out.
/// @{

/// To one bit, by the greys of Indexed8 (with a table of \a colors), RGB32 or ARGB32 rows.
std::unique_ptr<RowConverter> makeMonoRows(int width, QImage::Format from,
                                           const QVector<QRgb> &colors, bool lsbFirst,
                                           Qt::ImageConversionFlags flags);

/// From RGB32 or ARGB32 to indices of the image's own colours in order of appearance. Fails at the
/// 257th.
std::unique_ptr<RowConverter> makePaletteRows(int width, QImage::Format from);

/// From RGB32 or ARGB32 to indices of the colour cube, with the transparent index 216 where the
/// dithered alpha of ARGB32 says so.
///
/// The colour table has 256 entries. Those behind the cube are never used; they show what
/// \a collected, the palette tried before, has there, as in QImage's results.
std::unique_ptr<RowConverter> makeCubeRows(int width, QImage::Format from,
                                           Qt::ImageConversionFlags flags,
                                           const QVector<QRgb> &collected);
/// @}

/// How the colours of an image of RGB32 or ARGB32 rows become at most 256.
struct IndexedPlan
{
    bool collects; ///< a palette is tried first
    bool mayKeepPalette; ///< and taken if it fits; otherwise the cube follows in any case
};

IndexedPlan indexedPlan(QImage::Format from, Qt::ImageConversionFlags flags);

} // namespace vellum::convert
