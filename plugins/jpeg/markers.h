// What stands beside the pixels of a JPEG file: EXIF, XMP, comments, resolution.
#pragma once

#include "jpeg/library.h"
#include "shared/picture.h"

#include <vector>

namespace vellum::plugin {

/// Makes \a codec keep the markers that readMarkers() looks at. May end in an error.
void keepMarkers(jpeg_decompress_struct &codec);

/// Adds to \a picture what the kept markers say, except for the profile.
///
/// XMP becomes the text "XML:com.adobe.xmp", the key under which PNG files hold it. A comment
/// "key: text" becomes the text of that key, any other the one of "Description".
void readMarkers(const jpeg_decompress_struct &codec, Picture &picture);

/// A marker as it stands in a file.
struct Marker
{
    int code;
    QByteArray bytes; ///< at most 65533
};

/// The markers with the EXIF block and the texts of \a picture; the way back of readMarkers().
/// What does not fit into a marker is left out, with a message.
std::vector<Marker> markersOf(const Picture &picture);

/// Sets the resolution that the header states, in whichever unit is closer to \a picture's.
void setResolution(jpeg_compress_struct &codec, const Picture &picture);

} // namespace vellum::plugin
