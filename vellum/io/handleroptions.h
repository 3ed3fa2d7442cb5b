// What can be asked of the handlers of plugins that know Vellum, beyond QImageIOHandler's options.
#pragma once

#include <QImageIOHandler>

namespace vellum {

/// \name For QImageIOHandler::option() only
/// QImageReader and QImageWriter do not pass them on; openImage() and saveImage(), which drive
/// handlers themselves, ask them. A handler that does not know one answers an invalid value.
/// @{

/// int: rows of the last read's result that are complete, counted in the order of the file.
constexpr auto kRowsRead = QImageIOHandler::ImageOption(31); // the last value the type can hold
/// qint64: the size in bytes that the last write for the size only found, exactly; such a write is
/// asked for by a Gamma above 9, see QImageWriterEx.
constexpr auto kEncodedSize = QImageIOHandler::ImageOption(30);
/// @}

} // namespace vellum
