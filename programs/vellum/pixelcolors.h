// Comparing and converting the colours of pictures.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>

#include <functional>

namespace vellum::tool {

/// True when both profiles mean the same colours, which those of different programs may do.
bool meanSameColors(const QByteArray &a, const QByteArray &b);

bool isCmykProfile(const QByteArray &profile);

/// True when \a picture has shades of grey only, by its format or by its palette.
bool hasOnlyGrey(const Vellum &picture);

/// A format that convertColors() takes and that loses nothing of \a picture, whose pixels are
/// colours of \a profile; Format_Invalid when it is damaged or not of RGB, or of grey as they are.
QImage::Format formatForProfile(const Vellum &picture, const QByteArray &profile);

/// convertColors() of \a image, asking \a goOn meanwhile.
Vellum convertedColors(Vellum image, const QByteArray &source, const QByteArray &destination,
                       const ColorConversion &conversion, const std::function<bool()> &goOn);

} // namespace vellum::tool
