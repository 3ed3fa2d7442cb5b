// What the tests of PNG files share: reading, writing, and files with chunks of one's own.
#pragma once

#include <vellum/vellum.h>

#include <QBuffer>
#include <QImageReader>

#include <gtest/gtest.h>

#include <functional>
#include <support/imageplugin.h>
#include <support/pngfile.h>
#include <support/profiles.h>
#include <utility>

namespace vellum::test {

using Options = std::vector<std::pair<QImageIOHandler::ImageOption, QVariant>>;

/// Made once: a profile holds the second it was made in.
inline const QByteArray &wideGamut()
{
    static const QByteArray icc = matrixProfile();
    return icc;
}

inline bool readPng(QIODevice &device, QImage &image)
{
    return makeHandler(QStringLiteral("png"), &device)->read(&image);
}

inline bool readPng(QByteArray bytes, QImage &image)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return readPng(buffer, image);
}

/// As Qt's own plugin reads it.
inline QImage qtReads(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader(&buffer, "png").read();
}

inline QByteArray writePng(const QImage &image, const Options &options = {})
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    const auto handler = makeHandler(QStringLiteral("png"), &buffer);
    for (const auto &[option, value] : options)
        handler->setOption(option, value);
    EXPECT_TRUE(handler->write(image));
    return buffer.data();
}

/// The pixels in a format that holds all that PNG has, and that does not care which colour is
/// not seen.
inline QImage deep(const QImage &image)
{
    return image.convertToFormat(QImage::Format_RGBA64_Premultiplied);
}

/// A file of 37 x 23 pixels with \a addChunks' chunks.
inline QByteArray pngWith(std::function<void(png_structp, png_infop)> addChunks,
                          int type = PNG_COLOR_TYPE_RGB)
{
    PngFile file;
    file.type = type;
    file.addChunks = std::move(addChunks);
    return makePng(file);
}

inline void setText(png_structp png, png_infop info, const char *key, const char *value,
                    int compression)
{
    png_text text {};
    text.key = const_cast<char *>(key);
    text.text = const_cast<char *>(value);
    text.compression = compression;
    char none[] = "";
    text.lang = none;
    text.lang_key = none;
    png_set_text(png, info, &text, 1);
}

inline void setProfile(png_structp png, png_infop info, const QByteArray &icc)
{
    png_set_iCCP(png, info, "a", PNG_COMPRESSION_TYPE_BASE,
                 reinterpret_cast<png_const_bytep>(icc.constData()), png_uint_32(icc.size()));
}

/// A block that says how to turn the picture, as EXIF counts orientations.
inline QByteArray exifBlock(char orientation)
{
    return QByteArray("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 18) + orientation +
        QByteArray("\0\0\0\0\0\0\0", 7);
}

inline void setExif(png_structp png, png_infop info, QByteArray block)
{
    png_set_eXIf_1(png, info, png_uint_32(block.size()), reinterpret_cast<png_bytep>(block.data()));
}

} // namespace vellum::test
