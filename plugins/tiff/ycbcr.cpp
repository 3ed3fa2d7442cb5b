#include "tiff/ycbcr.h"

#include <cmath>

namespace vellum::plugin::tiff {

/// In 1/65536, cut off where three of them still add up to an \c int.
int YCbCrTable::fixed(double value)
{
    constexpr double kMost = 8192; // a level is 0 to 255
    return std::isfinite(value) ? int(std::lround(qBound(-kMost, value, kMost) * kOne)) : 0;
}

YCbCrTable::YCbCrTable(TIFF *tiff)
{
    const float *lumas = nullptr;
    const float *range = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_YCBCRCOEFFICIENTS, &lumas);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_REFERENCEBLACKWHITE, &range);
    constexpr float kLumas[] = {0.299F, 0.587F, 0.114F};
    constexpr float kRange[] = {0, 255, 128, 255, 128, 255};
    if (!lumas || !(lumas[1] > 0))
        lumas = kLumas;
    if (!range || !(range[1] > range[0]) || !(range[3] > range[2]) || !(range[5] > range[4]))
        range = kRange;
    const double red = double(lumas[0]);
    const double green = double(lumas[1]);
    const double blue = double(lumas[2]);
    for (int code = 0; code < 256; ++code) {
        const auto scaled = [&](int component, double full) {
            const float *const limits = range + 2 * qptrdiff(component);
            return (code - double(limits[0])) * full / (double(limits[1]) - double(limits[0]));
        };
        const double light = scaled(0, 255);
        const double blueness = scaled(1, 127) * (2 - 2 * blue);
        const double redness = scaled(2, 127) * (2 - 2 * red);
        const auto i = size_t(code);
        m_light[i] = fixed(light);
        m_redOfCr[i] = fixed(redness);
        m_blueOfCb[i] = fixed(blueness);
        // G = (Y - blue * B - red * R) / green
        m_greenLight[i] = fixed(light * (1 - blue - red) / green);
        m_greenOfCb[i] = fixed(-blueness * blue / green);
        m_greenOfCr[i] = fixed(-redness * red / green);
    }
}

} // namespace vellum::plugin::tiff
