#include "differencemap.h"

#include "emptypicture.h"
#include "strips.h"

#include <algorithm>
#include <vector>

namespace vellum::tool {

namespace {

constexpr int kLeastShown = 64;
constexpr int kMost = 65535;

const quint16 *amountsOf(const Vellum &picture, int y)
{
    return reinterpret_cast<const quint16 *>(picture.scanLineEx(y));
}

/// The shade of every amount.
std::vector<uchar> shades(int largest)
{
    std::vector<uchar> shades(kMost + 1);
    for (int amount = 1; amount <= largest; ++amount)
        shades[size_t(amount)] = uchar(kLeastShown + (255 - kLeastShown) * amount / largest);
    return shades;
}

} // namespace

Vellum visibleMap(const Vellum &amounts, Storage storage, const ProgressGuard::Report &report)
{
    const int width = amounts.width();
    int largest = 0;
    const auto findLargest = [&](int y, int count) {
        for (int row = y; row < y + count; ++row) {
            const quint16 *const in = amountsOf(amounts, row);
            largest = std::max<int>(largest, *std::max_element(in, in + width));
        }
        return true;
    };
    Vellum map = emptyPicture(amounts.size(), QImage::Format_Grayscale8, storage);
    if (map.isNull() || !forEachStrip(amounts.size(), StripSize::Small, report, findLargest))
        return {};
    const std::vector<uchar> shade = shades(largest);
    const auto paint = [&](int y, int count) {
        for (int row = y; row < y + count; ++row) {
            const quint16 *const in = amountsOf(amounts, row);
            std::transform(in, in + width, map.scanLineEx(row),
                           [&](quint16 amount) { return shade[amount]; });
        }
        return true;
    };
    return forEachStrip(amounts.size(), StripSize::Small, report, paint) ? map : Vellum();
}

} // namespace vellum::tool
