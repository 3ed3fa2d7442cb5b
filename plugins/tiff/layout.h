// How the samples of a picture lie in its file.
#pragma once

#include <QSize>
#include <QVector>

#include <optional>
#include <tiffio.h>

namespace vellum::plugin::tiff {

struct Layout
{
    QSize size;
    int bits = 1; ///< per sample, as libtiff gives them
    int samples = 1; ///< per pixel
    int colors = 1; ///< samples that make the colour, the first ones
    int alpha = -1; ///< which sample is alpha; -1 for none
    bool alphaIsAssociated = false; ///< colours are multiplied by it
    QVector<int> extras; ///< the samples that are neither
    quint16 sampleFormat = SAMPLEFORMAT_UINT;
    quint16 photometric = PHOTOMETRIC_MINISBLACK; ///< of the samples as libtiff gives them
    quint16 compression = COMPRESSION_NONE;

    bool separate = false; ///< each sample in a plane of its own
    bool tiled = false;
    QSize block; ///< of a tile, or of a strip that is as high as they come
    QSize clump {1, 1}; ///< pixels that share Cb and Cr and lie together; 1 x 1: none do

    int planes() const { return separate ? samples : 1; }
    int samplesPerPlane() const { return separate ? 1 : samples; }
    bool isClumped() const { return clump != QSize(1, 1); }
    bool isWide() const { return bits > 8; } ///< takes 16 bits in memory
};

/// Has codecs that can do it convert to RGB or grey of 8 bits. To be called for each directory
/// of each handle, before anything is asked about it.
void letCodecsConvert(TIFF *tiff);

/// The layout of the directory that \a tiff is at; nothing, with a message, when it is broken or
/// holds pixels of a kind that nobody here can read.
std::optional<Layout> readLayout(TIFF *tiff);

/// Bytes of samples that a byte of the file can stand for at most.
int maxExpansion(quint16 compression);

} // namespace vellum::plugin::tiff
