// The bytes with their bits in the opposite order.
#pragma once

#include <QtGlobal>

#include <array>

namespace vellum::convert {

constexpr std::array<uchar, 256> makeReversedBits()
{
    std::array<uchar, 256> table {};
    for (unsigned i = 0; i < table.size(); ++i) {
        unsigned reversed = 0;
        for (unsigned bit = 0; bit < 8; ++bit)
            reversed |= (i >> bit & 1U) << (7 - bit);
        table[i] = uchar(reversed);
    }
    return table;
}

/// Entry i is i with bit 0 exchanged for bit 7, bit 1 for bit 6 and so on: it turns a byte of
/// QImage::Format_Mono into one of Format_MonoLSB and back, and mirrors eight one-bit pixels.
constexpr std::array<uchar, 256> kReversedBits = makeReversedBits();

/// \a bytes with the bits of each of the eight reversed, as by kReversedBits.
constexpr quint64 withReversedBits(quint64 bytes)
{
    bytes = (bytes >> 1 & 0x5555555555555555U) | (bytes & 0x5555555555555555U) << 1;
    bytes = (bytes >> 2 & 0x3333333333333333U) | (bytes & 0x3333333333333333U) << 2;
    return (bytes >> 4 & 0x0f0f0f0f0f0f0f0fU) | (bytes & 0x0f0f0f0f0f0f0f0fU) << 4;
}

} // namespace vellum::convert
