// The three encodings of Lab pixels, as lcms2 expects them.
#pragma once

#include <QtGlobal>

namespace vellum::plugin::tiff {

/// L, a, b as lcms2's \c TYPE_Lab_16: 65535 is L 100; a and b are (value + 128) * 257.
struct Lab16
{
    quint16 l;
    quint16 a;
    quint16 b;
};

/// \name From samples of 8 or 16 bits
/// @{

/// PhotometricInterpretation 8 (TIFF 6.0, section 23): a and b are signed; of 16 bits, 256 times
/// the value.
Lab16 fromCieLab(quint8 l, quint8 a, quint8 b);
Lab16 fromCieLab(quint16 l, quint16 a, quint16 b);

/// PhotometricInterpretation 9: as in ICC profiles of version 2. Zero is 128 or 32768, and L 100
/// is 255 or 65280.
Lab16 fromIccLab(quint8 l, quint8 a, quint8 b);
Lab16 fromIccLab(quint16 l, quint16 a, quint16 b);

/// PhotometricInterpretation 10 (ITU-T T.42) with its default gamut: L from 0 to 100, a from -85
/// to 85, b from -75 to 125.
Lab16 fromItuLab(quint8 l, quint8 a, quint8 b);
Lab16 fromItuLab(quint16 l, quint16 a, quint16 b);
/// @}

} // namespace vellum::plugin::tiff
