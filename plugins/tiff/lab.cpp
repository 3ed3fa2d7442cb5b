#include "tiff/lab.h"

namespace vellum::plugin::tiff {

namespace {

constexpr int kOne = 257; // a step of a and b, of 8 bits, in 16 bits

quint16 bounded(qint64 value) { return quint16(qBound(qint64(0), value, qint64(65535))); }

/// A number in which 32768 or 65280 stands for what 32896 and 65535 stand for in lcms2.
quint16 fromVersion2(qint64 value) { return bounded((value * kOne + 128) / 256); }

/// \param range  of the value over all codes
/// \param zero   code of 0, in 8 bits
/// \param white  the highest code
quint16 fromItu(qint64 code, int range, int zero, int white)
{
    // Zero is given in 8 bits: with n bits its code is that times 2^(n-8).
    const qint64 offset = white == 255 ? zero : qint64(zero) * 256;
    // value = (code - offset) * range / white, result = (value + 128) * 257
    const qint64 numerator = (code - offset) * range * kOne;
    const qint64 rounding = numerator < 0 ? -white / 2 : white / 2;
    return bounded((numerator + rounding) / white + 128 * kOne);
}

} // namespace

Lab16 fromCieLab(quint8 l, quint8 a, quint8 b) { return fromIccLab(l, a ^ 0x80, b ^ 0x80); }

Lab16 fromCieLab(quint16 l, quint16 a, quint16 b)
{
    return {l, fromVersion2(a ^ 0x8000), fromVersion2(b ^ 0x8000)};
}

Lab16 fromIccLab(quint8 l, quint8 a, quint8 b)
{
    return {quint16(l * kOne), quint16(a * kOne), quint16(b * kOne)};
}

Lab16 fromIccLab(quint16 l, quint16 a, quint16 b)
{
    return {fromVersion2(l), fromVersion2(a), fromVersion2(b)};
}

Lab16 fromItuLab(quint8 l, quint8 a, quint8 b)
{
    return {quint16(l * kOne), fromItu(a, 170, 128, 255), fromItu(b, 200, 96, 255)};
}

Lab16 fromItuLab(quint16 l, quint16 a, quint16 b)
{
    return {l, fromItu(a, 170, 128, 65535), fromItu(b, 200, 96, 65535)};
}

} // namespace vellum::plugin::tiff
