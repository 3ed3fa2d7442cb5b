#include "tiff/clumps.h"

namespace vellum::plugin::tiff {

void spreadClumps(uchar *out, const uchar *clumps, const QSize &size, const QSize &clump)
{
    const int lights = clump.width() * clump.height();
    const qptrdiff stride = qptrdiff(size.width()) * 3;
    for (int top = 0; top < size.height(); top += clump.height()) {
        for (int left = 0; left < size.width(); left += clump.width(), clumps += lights + 2) {
            for (int i = 0; i < lights; ++i) {
                const int x = left + i % clump.width();
                const int y = top + i / clump.width();
                if (x >= size.width() || y >= size.height())
                    continue;
                uchar *const pixel = out + y * stride + qptrdiff(x) * 3;
                pixel[0] = clumps[i];
                pixel[1] = clumps[lights];
                pixel[2] = clumps[lights + 1];
            }
        }
    }
}

} // namespace vellum::plugin::tiff
