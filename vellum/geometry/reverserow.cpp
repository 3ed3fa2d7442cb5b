#include <vellum/geometry/pixels_p.h>
#include <vellum/geometry/reverserow_p.h>
#include <vellum/image/cpufeatures_p.h>

namespace vellum::geometry {

namespace {

template <typename Pixel>
void reversePixels(uchar *out, const uchar *in, qptrdiff count)
{
    for (qptrdiff i = 0; i < count; ++i)
        storePixel(out, count - 1 - i, loadPixel<Pixel>(in, i));
}

} // namespace

ReverseRow reverseRow(int bytesPerPixel) noexcept
{
    switch (bytesPerPixel) {
    case 1:
        return VELLUM_CHOOSE_SSE41(reversePixels<quint8>, reverseRow8Sse41);
    case 2:
        return VELLUM_CHOOSE_SSE41(reversePixels<quint16>, reverseRow16Sse41);
    case 3:
        return VELLUM_CHOOSE_SSE41(reversePixels<Pixel24>, reverseRow24Sse41);
    case 4:
        return VELLUM_CHOOSE_SSE41(reversePixels<quint32>, reverseRow32Sse41);
    default:
        return VELLUM_CHOOSE_SSE41(reversePixels<quint64>, reverseRow64Sse41);
    }
}

} // namespace vellum::geometry
