// What an open picture file consists of.
#pragma once

#include <vellum/io/decoder_p.h>
#include <vellum/io/picturefile.h>

namespace vellum {

struct PictureFile::Private
{
    OpenResult result;
    std::unique_ptr<io::Decoder> decoder; ///< null when the file is no picture
    PictureInfo info;

    /// What \a file consists of.
    static Private &of(PictureFile &file) { return *file.d; }
};

} // namespace vellum
