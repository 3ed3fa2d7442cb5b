// Pixel formats as the user names them, and how pictures get there.
#pragma once

#include <QImage>

#include <string>

namespace CLI {
class App;
}

namespace vellum::tool {

/// A pixel format to convert to.
struct FormatOptions
{
    QImage::Format format = QImage::Format_Invalid; ///< invalid: as it is
    Qt::ImageConversionFlags dither = Qt::AutoColor; ///< for QImage::convertToFormat()
    bool preferDither = false;

    Qt::ImageConversionFlags flags() const;
};

/// Adds \c --format, \c --dither and \c --prefer-dither.
void addFormatOptions(CLI::App &command, FormatOptions &options);

/// All names that \c --format takes, in lines for the help.
std::string formatNames();

} // namespace vellum::tool
