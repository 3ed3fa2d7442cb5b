#include "shared/colorinput.h"

#include "shared/pixelrows.h"
#include "shared/transformprobe.h"

#include <QColor>

#include <lcms2.h>

#include <cstring>

namespace vellum::plugin {

bool isCmykInput(unsigned int inputColors) { return T_COLORSPACE(inputColors) == PT_CMYK; }

bool isProfileOf(const QByteArray &icc, const char *colorSpace)
{
    constexpr int kColorSpaceAt = 16; // in the header of an ICC profile
    return icc.mid(kColorSpaceAt, 4) == colorSpace;
}

int inputPixelBytes(unsigned int inputColors)
{
    const unsigned int bytes = T_BYTES(inputColors) == 0 ? 8 : T_BYTES(inputColors);
    return int((T_CHANNELS(inputColors) + T_EXTRA(inputColors)) * bytes);
}

ColorInput::ColorInput(unsigned int inputColors, QImage::Format format, const QByteArray &icc)
    : m_inputColors(inputColors), m_format(format)
{
    m_hasTransform = prepare(icc);
    if (!m_hasTransform && isCmykInput(inputColors)) {
        QByteArray press;
        CVlLcmsManager::getDefaultCmykIccProfile(press);
        m_hasTransform = prepare(press);
    }
    if (inputPixelBytes(inputColors) == 4 && bitsPerPixel(format) == 32)
        m_known = std::make_unique<KnownColors>(~0U);
}

/// \return false when there is no such transform
bool ColorInput::prepare(QByteArray icc)
{
    const unsigned int outFormat = CVlLcmsManager::toLcmsFormat(m_format);
    if (icc.isEmpty() && isCmykInput(m_inputColors))
        return false;
    if (icc.isEmpty())
        icc = QByteArrayLiteral("Lab"); // no profile is looked at, but without one nothing is done
    m_manager.prepareIccReadTransform(m_inputColors, outFormat, icc, QByteArray());
    return writesPixels(
        [&](const uchar *in, uchar *out) { m_manager.doIccTransformRead(in, out, 1, 1, 64, 64); });
}

void ColorInput::convert(uchar *out, const uchar *in, int pixels)
{
    if (!m_hasTransform || !m_known)
        std::memset(out, 0xff, size_t(rowBytes(pixels, bitsPerPixel(m_format)))); // for alpha
    const auto through = [this](uchar *to, const uchar *from, int count) {
        convertThrough(to, from, count);
    };
    if (!m_hasTransform)
        convertPlainly(out, in, pixels);
    else if (m_known)
        m_known->convert(out, in, pixels, through);
    else
        convertThrough(out, in, pixels);
}

/// Alpha is none of the transform's business.
void ColorInput::convertThrough(uchar *out, const uchar *in, int pixels)
{
    const auto count = unsigned(pixels);
    m_manager.doIccTransformRead(in, out, count, 1,
                                 count * unsigned(inputPixelBytes(m_inputColors)),
                                 unsigned(rowBytes(pixels, bitsPerPixel(m_format))));
}

void ColorInput::convertPlainly(uchar *out, const uchar *in, int pixels) const
{
    if (!isCmykInput(m_inputColors))
        return;
    const int sampleBytes = int(T_BYTES(m_inputColors));
    const int step = inputPixelBytes(m_inputColors);
    const bool isInverted = T_FLAVOR(m_inputColors) != 0;
    const auto ink = [&](const uchar *pixel, int index) {
        // The high byte of 16-bit samples is precise enough for a guess at colours.
        const int high = sampleBytes == 2 && Q_BYTE_ORDER == Q_LITTLE_ENDIAN ? 1 : 0;
        const int value = pixel[index * sampleBytes + high];
        return isInverted ? 255 - value : value;
    };
    QImage row(out, pixels, 1, pixels * bitsPerPixel(m_format) / 8, m_format);
    for (int x = 0; x < pixels; ++x, in += step) {
        const int light = 255 - ink(in, 3);
        row.setPixelColor(x, 0,
                          QColor((255 - ink(in, 0)) * light / 255, (255 - ink(in, 1)) * light / 255,
                                 (255 - ink(in, 2)) * light / 255));
    }
}

} // namespace vellum::plugin
