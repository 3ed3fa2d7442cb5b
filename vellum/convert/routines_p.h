// The pixel routines behind the two conversion tables.
#pragma once

#include <vellum/image/vellum.h>

namespace vellum::convert {

/// Fills \a dst, which has the size of \a src and the format converted to.
using Converter = void (*)(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags);

/// Rewrites every row of \a image, relabels it and returns true.
using InPlaceConverter = bool (*)(Vellum &image, Qt::ImageConversionFlags flags);

/// \name Copying. Rows and ends of rows that the store of a source lacks are left as they are.
/// @{
void maskAlphaConverter(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertMonoToMonoLSB(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertMonoToX32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertMonoToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertIndexed8ToX32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertIndexed8ToGrayscale8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertIndexed8ToAlpha8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertRGBToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags);
void convertARGBToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags);
void convertRGBToGrayscale8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertGrayscale8ToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertAlpha8ToIndexed8(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
void convertXToMono(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags flags);
void convertRGBA64ToARGB32(Vellum &dst, const Vellum &src, Qt::ImageConversionFlags);
/// @}

/// \name In place
/// Format and colour table change for every image that shares the data, as its rows do.
/// @{
template <QImage::Format To>
bool maskAlphaInPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertRGBA8888ToRGB32InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertRGBA8888ToARGB32InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertRGBA8888ToARGB32PMInPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertRGBA8888ToRGBX8888InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertIndexed8ToGrayscale8InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertIndexed8ToAlpha8InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertGrayscale8ToIndexed8InPlace(Vellum &image, Qt::ImageConversionFlags);
bool convertAlpha8ToIndexed8InPlace(Vellum &image, Qt::ImageConversionFlags);
/// @}

} // namespace vellum::convert
