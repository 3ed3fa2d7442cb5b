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

} // namespace vellum::convert
