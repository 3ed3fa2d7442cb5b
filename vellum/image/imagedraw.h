// Drawing images of either storage kind, on devices of any size.
#pragma once

#include <vellum/export.h>

#include <QPainter>
#include <QRectF>

class QImage;
class Vellum;

/// Draws the part \a source of \a image into \a target with \a painter, which can do this by
/// itself for plain images only.
///
/// A plain image is drawn by one QPainter::drawImage(\a target, \a image, \a source, \a flags). Of
/// a big image, \a source is rounded to whole pixels and clipped to the image. It is then
/// - sampled (see fast_scale_image()) to the size of \a target and drawn from there, when \a target
///   has fewer than 8,388,608 pixels in its own coordinates, or else
/// - drawn in strips of rows with at most that many pixels, each copied to a plain image. Without
///   \a flags, which callers rely on.
///
/// \param painter  active; its transform, opacity, composition mode and clip apply
/// \param target   in the painter's coordinates
/// \param image    reports progress when it is sampled
/// \param source   in pixels of \a image; what rounds to an empty rectangle at no width and height
///                 stands for the whole image
///
/// Draws nothing when \a painter or \a image is null, when \a source lies outside \a image, or when
/// strips are due and a row has more than 8,388,608 pixels. Like all that QPainter draws, results
/// end at device coordinate 32,767; see vellum::drawOnto().
VELLUM_EXPORT void painter_drawVellum(QPainter *painter, const QRectF &target, const Vellum &image,
                                      const QRectF &source, Qt::ImageConversionFlags flags);

namespace vellum {

/// Draws the part \a source of \a image into \a target on \a device, on all of it, where QPainter
/// silently stops at coordinate 32,767.
///
/// \a device is worked on in tiles, each by a painter of its own on a QImage laid over some of the
/// device's pixels, so a big Vellum can be drawn on as well. Pixels are picked, not mixed: with
/// both rectangles rounded to whole pixels and \a source clipped to \a image, column \c x of
/// \a target shows column <tt>int(x * (double(source width) / target width))</tt> of \a source, and
/// rows likewise. Blending is that of QPainter::drawImage().
///
/// \param device   of a format that QPainter draws on, which excludes Format_Indexed8. A plain one
///                 is copied first when it is shared; the rows of a big one are written for all
///                 who share them
/// \param target   in pixels of \a device, whatever its device pixel ratio; may reach beyond it
/// \param image    plain or big, \a device itself included; reports no progress
/// \param source   in pixels of \a image; a null rectangle stands for the whole image
/// \param opacity  0 to 1
/// \param flags    for the conversion to the format of \a device, as in QPainter::drawImage()
/// \return false when \a image is null, when \a device is null or of a format that cannot be drawn
///         on, or when memory runs out, with some tiles drawn perhaps. True also when nothing is
///         to be drawn
///
/// Memory is one tile, about a million pixels, and a copy of an \a image that is the \a device.
/// Runs on the calling thread.
VELLUM_EXPORT bool drawOnto(QImage &device, const QRectF &target, const Vellum &image,
                            const QRectF &source = QRectF(), qreal opacity = 1.0,
                            QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver,
                            Qt::ImageConversionFlags flags = Qt::AutoColor);

} // namespace vellum
