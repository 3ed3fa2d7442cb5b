// An image's transform for reading, and the conversion of its pixels to sRGB.

#include <vellum/color/transforms_p.h>

void Vellum::prepareIccReadTransform(unsigned int inFormat, unsigned int outFormat, QByteArray &icc)
{
    if (!icc.isEmpty())
        m_iccReadTransform = vellum::color::makeReadTransform(inFormat, outFormat, icc);
}

void Vellum::doIccTransformRead(const void *in, void *out, unsigned int pixelsPerLine,
                                unsigned int lineCount, unsigned int bytesPerLineIn,
                                unsigned int bytesPerLineOut)
{
    vellum::color::transformLines(
        m_iccReadTransform.get(),
        {in, out, pixelsPerLine, lineCount, bytesPerLineIn, bytesPerLineOut});
}

void Vellum::releaseIccReadTransform() { m_iccReadTransform.reset(); }

void Vellum::doNormalIccTransform(QByteArray &icc) { vellum::color::convertToSrgb(*this, icc); }
