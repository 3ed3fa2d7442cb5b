// What can be asked of the handlers of plugins that know Vellum, beyond QImageIOHandler's options.
#pragma once

#include <QImageIOHandler>

namespace vellum {

/// The order in which a handler asks an image for its rows, each exactly once, through the polled
/// functions of <vellum/image/rowaccess.h>.
enum class RowOrder {
    None, ///< another one, or more than once, or not by those functions
    TopDown, ///< image_scanLine() and image_constScanLine()
    BottomUp, ///< image_scanLine_reverse() and image_constScanLine_reverse()
};

/// The colours of pixels as they are stored in a file.
enum class StoredColors {
    Unknown,
    AsDecoded, ///< those of the format that they are decoded to
    Cmyk, ///< inks, which decoding turns into RGB
    Lab, ///< CIE L*a*b*, which decoding turns into RGB
};

/// How many rows a handler may look back while it writes: a row that it was given stays until it
/// has asked for this many more. Only then may rows go, see kWriteOrder.
constexpr int kRowsBehind = 64;

/// \name For QImageIOHandler::option() only
/// QImageReader and QImageWriter do not pass them on; openImage() and saveImage(), which drive
/// handlers themselves, ask them. A handler that does not know one answers an invalid value.
/// @{

/// int: rows of the last read's result that are complete, counted in the order of the file.
constexpr auto kRowsRead = QImageIOHandler::ImageOption(31); // the last value the type can hold
/// qint64: the size in bytes that the last write for the size only found, exactly; such a write is
/// asked for by a Gamma above 9, see QImageWriterEx.
constexpr auto kEncodedSize = QImageIOHandler::ImageOption(30);
/// int: the RowOrder of the next read, with the options that have been set, into an image of the
/// size asked for and of format kReadFormat. Not None only when that read gives the image all that
/// stands beside the pixels before it asks for the first row, and looks back at no row.
constexpr auto kReadOrder = QImageIOHandler::ImageOption(29);
/// int: the QImage::Format of the result of the next read, with the options that have been set.
constexpr auto kReadFormat = QImageIOHandler::ImageOption(28);
/// int: the RowOrder of the next write, with the options that have been set. Not None only when
/// that write makes do with kRowsBehind rows behind the one it asked for last.
constexpr auto kWriteOrder = QImageIOHandler::ImageOption(27);
/// QByteArray: the ICC profile of the next picture's pixels as stored, from its header; empty for
/// none.
constexpr auto kStoredProfile = QImageIOHandler::ImageOption(26);
/// int: the StoredColors of the next picture, from its header.
constexpr auto kStoredColors = QImageIOHandler::ImageOption(25);
/// QSize: the resolution of the next picture as stored, in pixels per metre, from its header; empty
/// when it has none.
constexpr auto kStoredResolution = QImageIOHandler::ImageOption(24);
/// @}

} // namespace vellum
