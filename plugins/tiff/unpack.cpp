#include "tiff/unpack.h"

#include <qfloat16.h>

#include <array>
#include <cstring>
#include <limits>

namespace vellum::plugin::tiff {

namespace {

template <typename Number, typename T, typename Convert>
void convertNumbers(T *out, int step, const uchar *raw, qint64 first, qint64 count, Convert convert)
{
    for (qint64 i = 0; i < count; ++i, out += step) {
        Number number;
        std::memcpy(&number, raw + (first + i) * qint64(sizeof number), sizeof number);
        *out = T(convert(number));
    }
}

template <typename T>
T fromUnit(double value)
{
    constexpr double kWhite = std::numeric_limits<T>::max();
    if (!(value > 0)) // and what is no number
        return 0;
    return value >= 1 ? T(kWhite) : T(value * kWhite + 0.5);
}

/// Numbers of any depth up to 16 bits, packed.
class Bits
{
public:
    Bits(const uchar *raw, qint64 firstBit) : m_raw(raw + firstBit / 8), m_skipped(firstBit % 8) { }

    unsigned take(int bits)
    {
        unsigned number = 0;
        for (int wanted = bits; wanted > 0;) {
            const int here = qMin(wanted, 8 - m_skipped);
            const unsigned part = (unsigned(*m_raw) >> (8 - m_skipped - here)) & ((1U << here) - 1);
            number = number << here | part;
            wanted -= here;
            m_skipped += here;
            if (m_skipped == 8) {
                m_skipped = 0;
                ++m_raw;
            }
        }
        return number;
    }

private:
    const uchar *m_raw;
    int m_skipped;
};

template <typename T>
void unpackBits(T *out, int step, const uchar *raw, qint64 first, qint64 count, SampleCode code)
{
    const quint32 most = (1U << code.bits) - 1;
    const quint32 sign = code.isSigned ? 1U << (code.bits - 1) : 0;
    constexpr quint32 kWhite = std::numeric_limits<T>::max();
    Bits bits(raw, first * code.bits);
    for (qint64 i = 0; i < count; ++i, out += step) {
        const quint32 number = bits.take(code.bits) ^ sign;
        *out = T(code.isScaled ? (number * kWhite + most / 2) / most : number);
    }
}

template <typename T>
void unpackFloats(T *out, int step, const uchar *raw, qint64 first, qint64 count, int bits)
{
    const auto unit = [](auto value) { return fromUnit<T>(double(value)); };
    if (bits == 16)
        convertNumbers<qfloat16>(out, step, raw, first, count,
                                 [](qfloat16 value) { return fromUnit<T>(double(float(value))); });
    else if (bits == 32)
        convertNumbers<float>(out, step, raw, first, count, unit);
    else
        convertNumbers<double>(out, step, raw, first, count, unit);
}

} // namespace

template <typename T>
void unpack(T *out, int step, const uchar *raw, qint64 first, qint64 count, SampleCode code)
{
    if (code.isFloat) {
        unpackFloats(out, step, raw, first, count, code.bits);
    } else if (code.bits == 8) {
        const quint8 sign = code.isSigned ? 0x80 : 0;
        convertNumbers<quint8>(out, step, raw, first, count,
                               [sign](quint8 value) { return value ^ sign; });
    } else if (code.bits == 16) {
        const quint16 sign = code.isSigned ? 0x8000 : 0;
        convertNumbers<quint16>(out, step, raw, first, count,
                                [sign](quint16 value) { return value ^ sign; });
    } else if (code.bits == 32) {
        const quint32 sign = code.isSigned ? 0x80000000U : 0;
        convertNumbers<quint32>(out, step, raw, first, count, [sign](quint32 value) {
            // 2^32 - 1 is 65537 times 2^16 - 1
            return (quint64(value ^ sign) + 65537 / 2) / 65537;
        });
    } else {
        unpackBits(out, step, raw, first, count, code);
    }
}

template void unpack(uchar *, int, const uchar *, qint64, qint64, SampleCode);
template void unpack(quint16 *, int, const uchar *, qint64, qint64, SampleCode);

} // namespace vellum::plugin::tiff
