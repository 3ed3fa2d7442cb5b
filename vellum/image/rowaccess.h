// Row access for loops that work on a Vellum or a plain QImage, with progress and cancel.
#pragma once

#include <vellum/export.h>

#include <QtGlobal>

class QImage;
class Vellum;

/// \name Polled row access
///
/// Each returns the first byte of row \a y and reports progress first. With a non-null \a image
/// the row is Vellum::scanLineEx(y), on plain and on big storage alike, after one call of
/// Vellum::set_progress; \a plain is not looked at. With a null \a image the row is \a plain's
/// and nobody is told.
///
/// Null means that the row is out of range or that the user cancelled: either way the loop must
/// stop and its operation fail.
///
/// A mutable row of a plain image detaches it first, as QImage::scanLine does; the const forms
/// never do. Rows of a big image are valid until its store is freed; see Vellum. The callback runs
/// on the calling thread.
/// @{

/// Mutable row \a y of a loop that walks down: reports \a y + 1 rows done.
VELLUM_EXPORT uchar *image_scanLine(Vellum *image, QImage *plain, int y);

/// Const row \a y of a loop that walks down: reports \a y + 1 rows done.
VELLUM_EXPORT const uchar *image_constScanLine(const Vellum *image, const QImage *plain, int y);

/// Mutable row \a y of a loop that walks up from the last row: reports height - \a y rows done.
VELLUM_EXPORT uchar *image_scanLine_reverse(Vellum *image, QImage *plain, int y);

/// Const row \a y of a loop that walks up from the last row: reports height - \a y rows done.
VELLUM_EXPORT const uchar *image_constScanLine_reverse(const Vellum *image, const QImage *plain,
                                                       int y);
/// @}
