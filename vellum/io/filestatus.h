// What reading or writing a file came to, and what colours pixels are.
#pragma once

namespace vellum {

/// How an operation on a file ended.
enum class FileStatus {
    Done,
    Cancelled, ///< a callback or flag said "stop"
    NotFound, ///< the file, its folder or the page does not exist, or may not be opened
    NotAPicture, ///< not a picture, or not of a kind that can be read or written here
    Damaged, ///< the file is a picture, but cannot be read whole
    OverLimit, ///< the picture is larger than the limits, or than its kind of file can hold
    OutOfMemory,
    NotWritten, ///< the file could not be written: a full disk, a protected folder and so on
};

/// What the numbers of pixels mean.
enum class PixelColors {
    Srgb, ///< colours of sRGB, whatever profile the image carries; grey with sRGB's tone curve
    FileOwn, ///< colours of the profile that the image carries
};

} // namespace vellum
