// CMYK and Lab pixels on their way into an image, which holds RGB.
#pragma once

#include "shared/knowncolors.h"
#include <vellum/color/lcmsmanager.h>

#include <QByteArray>

namespace vellum::plugin {

/// lcms2's code for CMYK pixels, of any depth and polarity.
bool isCmykInput(unsigned int inputColors);

/// Whether the header of \a icc names that colour space, such as "RGB " or "CMYK".
bool isProfileOf(const QByteArray &icc, const char *colorSpace);

int inputPixelBytes(unsigned int inputColors); ///< bytes of a pixel of an lcms2 code

/// Converts rows to sRGB: CMYK through the file's profile, else through the library's CMYK
/// profile, else by the plain formula that needs none; Lab as D50 Lab.
class ColorInput
{
public:
    /// \param inputColors  lcms2's code of the rows, CMYK or Lab
    /// \param format       of the result: one that has an lcms2 code
    /// \param icc          the file's profile; one of another colour space is ignored
    ColorInput(unsigned int inputColors, QImage::Format format, const QByteArray &icc);

    void convert(uchar *out, const uchar *in, int pixels);

private:
    bool prepare(QByteArray icc);
    void convertThrough(uchar *out, const uchar *in, int pixels);
    void convertPlainly(uchar *out, const uchar *in, int pixels) const;

    CVlLcmsManager m_manager;
    unsigned int m_inputColors;
    QImage::Format m_format;
    bool m_hasTransform = false;
    std::unique_ptr<KnownColors> m_known; // where pixels of both sides have 32 bits
};

} // namespace vellum::plugin
