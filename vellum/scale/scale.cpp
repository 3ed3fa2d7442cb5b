#include <vellum/image/hugepages_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/scale.h>
#include <vellum/scale/smoothscale_p.h>

#include <QMessageLogger>

Vellum qSmoothScaleCropVellum(const Vellum &src, const QSize &size, const QRect &rect)
{
    using namespace vellum::scale;
    SmoothScale scale;
    if (!scale.make(src, src.format(), size, rect))
        return {};
    Vellum result(rect.width(), rect.height(), src.format());
    if (result.isNull()) {
        QMessageLogger().warning("QImage: out of memory, returning null");
        return {};
    }
    vellum::image::preferHugePages(result.bits(), size_t(result.sizeInBytes()));
    ResultRows rows;
    if (!findResultRows(rows, result, rect.top()) || !scale.run(rows))
        return {};
    return result;
}
