// The bits of Vellum::setReadOptions() that the library's own format plugins read.
#pragma once

namespace vellum {

/// What a plugin is asked beyond reading a file as it stands. Combine with |; bits that are not
/// listed belong to the application.
///
/// \code
/// Vellum picture;
/// picture.setReadOptions(vellum::KeepDamaged);
/// const bool read = QImageReader(name).read(&picture); // true even when rows are missing
/// \endcode
enum ReadOption : unsigned int {
    /// Reading a file whose pixels break off succeeds. The rows that arrived are there, the rest
    /// is filled with zero bytes. Without it such a read fails; the rows that arrived are there
    /// nevertheless, those below are undefined.
    KeepDamaged = 0x01,

    /// The CMYK values of a JPEG file are taken as they are (255 = full ink), not as the inverted
    /// ones that practically every such file holds.
    CmykNotInverted = 0x02,
};

} // namespace vellum
