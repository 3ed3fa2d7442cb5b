// What stands before the pixels of a BMP file, in all its versions.
#pragma once

#include "bitmap/bytereader.h"

#include <QRgb>
#include <QSize>
#include <QVector>

#include <array>

namespace vellum::plugin {

namespace bmp {

/// How pixels are stored; the numbers are those of the format.
enum Compression : quint32 {
    kRgb = 0,
    kRle8 = 1,
    kRle4 = 2,
    kBitFields = 3,
    kAlphaBitFields = 6,
};

constexpr int kFileHeaderBytes = 14;

/// \name Sizes of the header that follows, by which its versions are told apart
/// @{
constexpr int kCoreHeaderBytes = 12; ///< OS/2 1: all fields are shorter
constexpr int kInfoHeaderBytes = 40;
constexpr int kMaskHeaderBytes = 52; ///< from here on the masks are part of the header
constexpr int kAlphaHeaderBytes = 56; ///< with that of alpha
constexpr int kOs2HeaderBytes = 64; ///< OS/2 2; files may leave out its end
constexpr int kV4HeaderBytes = 108;
constexpr int kV5HeaderBytes = 124;
/// @}

/// \name Places of its fields, from its first byte on
/// @{
constexpr int kWidthAt = 4;
constexpr int kHeightAt = 8;
constexpr int kPlanesAt = 12;
constexpr int kBitsAt = 14;
constexpr int kCompressionAt = 16;
constexpr int kPixelBytesAt = 20;
constexpr int kResolutionXAt = 24;
constexpr int kResolutionYAt = 28;
constexpr int kColorsAt = 32;
constexpr int kMasksAt = 40;
constexpr int kColorSpaceAt = 56;
constexpr int kIntentAt = 108;
constexpr int kProfileAt = 112;
constexpr int kProfileBytesAt = 116;
/// @}

/// \name Colour spaces
/// @{
constexpr quint32 kSrgb = 0x73524742; // "sRGB"
constexpr quint32 kDefault = 0x57696e20; // "Win ": whatever the system takes pixels for
constexpr quint32 kEmbeddedProfile = 0x4d424544; // "MBED"
/// @}

} // namespace bmp

struct BmpHeader
{
    QSize size;
    bool bottomUp = true;
    int bits = 0; ///< per pixel: 1, 4, 8, 16, 24 or 32
    quint32 compression = bmp::kRgb;
    std::array<quint32, 4> masks {}; ///< of red, green, blue, alpha; for 16 bits and more
    QVector<QRgb> colors; ///< for 8 bits and less
    int dotsPerMeterX = 0; ///< 0 when the file does not tell
    int dotsPerMeterY = 0;
    bool isSrgb = false;
    qint64 profileAt = 0; ///< from the start of the file
    qint64 profileBytes = 0; ///< 0 for none

    bool isRunLength() const { return compression == bmp::kRle8 || compression == bmp::kRle4; }
};

/// Whether \a device goes on with a BMP file. Only peeks.
bool isBmp(QIODevice &device);

/// Reads \a header and stops at the first pixel.
/// \return null, or in English why it cannot be used
const char *readBmpHeader(ByteReader &bytes, BmpHeader &header);

} // namespace vellum::plugin
