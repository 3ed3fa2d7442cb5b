// What a file says about one picture in it, beside the pixels.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QImageIOHandler>
#include <QString>
#include <QStringList>
#include <QVector>

namespace vellum::plugin {

struct Text
{
    QString key;
    QString value;
};

/// Filled by a decoder when it has read a header, handed to an encoder before the first row.
struct Picture
{
    QSize size; ///< as stored, before any transformation
    QImage::Format format = QImage::Format_Invalid; ///< of the image in memory

    /// lcms2's code of the rows that a decoder gives when they are not in \c format but have to
    /// be converted to it: CMYK (\c TYPE_CMYK_8, \c TYPE_CMYK_8_REV, \c TYPE_CMYK_16 ...) or Lab
    /// (\c TYPE_Lab_8, \c TYPE_Lab_16). 0 for rows in \c format.
    unsigned int inputColors = 0;

    bool bottomUp = false; ///< the decoder gives the last row first

    QVector<QRgb> colorTable; ///< for Indexed8, Mono and MonoLSB
    QByteArray icc; ///< profile of the pixels as stored; empty for none
    bool isSrgb = false; ///< the file says so without a profile

    QByteArray exif; ///< from its byte-order mark on, without "Exif\0\0"; see exif.h
    int dotsPerMeterX = 0; ///< 0 when the file does not tell
    int dotsPerMeterY = 0;
    QPoint offset;
    QImageIOHandler::Transformations transformation = QImageIOHandler::TransformationNone;
    QVector<Text> texts;
    QByteArray subType;

    int extraChannels = 0; ///< samples per pixel for Vellum's channel buffer
    int extraBits = 8; ///< 8 or 16
    QStringList extraNames; ///< of the channels; empty when they have none
};

} // namespace vellum::plugin
