#include "tiff/writeform.h"

#include <tiffio.h>

namespace vellum::plugin::tiff {

namespace {

struct Compression
{
    const char *name;
    quint16 code;
    int highestLevel; ///< 0 when there are none
    int worstPercent; ///< of the pixels' size that the compressed ones take at most
};

constexpr Compression kCompressions[] = {
    {"none", COMPRESSION_NONE, 0, 100},  {"packbits", COMPRESSION_PACKBITS, 0, 102},
    {"lzw", COMPRESSION_LZW, 0, 150},    {"deflate", COMPRESSION_ADOBE_DEFLATE, 9, 101},
    {"zstd", COMPRESSION_ZSTD, 19, 101},
};

constexpr const char *kLayouts[] = {"", "-tiled", "-big", "-tiled-big"};

/// 0 to 100 as 1 to \a highest.
int levelOf(int ratio, int highest) { return 1 + qBound(0, ratio, 100) * (highest - 1) / 100; }

} // namespace

WriteForm writeForm(const WriteOptions &options)
{
    WriteForm form {COMPRESSION_NONE};
    const Compression *chosen = nullptr;
    const QList<QByteArray> parts = options.subType.toLower().split('-');
    for (const QByteArray &part : parts) {
        form.tiled = form.tiled || part == "tiled";
        form.big = form.big || part == "big";
        for (const Compression &compression : kCompressions) {
            if (part == compression.name)
                chosen = &compression;
        }
    }
    const int ratio = options.compression;
    if (chosen) {
        form.compression = chosen->code;
        if (chosen->highestLevel > 0 && ratio >= 0)
            form.level = levelOf(ratio, chosen->highestLevel);
    } else if (ratio == 1) {
        form.compression = COMPRESSION_LZW;
    } else if (ratio > 1) {
        form.compression = COMPRESSION_ADOBE_DEFLATE;
        form.level = levelOf(ratio, 9);
    }
    return form;
}

QList<QByteArray> writeSubTypes()
{
    QList<QByteArray> types;
    for (const char *layout : kLayouts)
        for (const Compression &compression : kCompressions)
            types.append(QByteArray(compression.name) + layout);
    return types;
}

bool needsBigTiff(qint64 bytes, int pages, quint16 compression)
{
    constexpr qint64 kMost = (qint64(1) << 32) - 1;
    constexpr qint64 kBeside = 4 << 20; // directories, profile, EXIF of a page
    int worstPercent = 100;
    for (const Compression &known : kCompressions) {
        if (known.code == compression)
            worstPercent = known.worstPercent;
    }
    return bytes / 100 * worstPercent + pages * kBeside > kMost;
}

} // namespace vellum::plugin::tiff
