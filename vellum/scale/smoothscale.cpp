#include <vellum/image/cpufeatures_p.h>
#include <vellum/image/imagedata_p.h>
#include <vellum/image/vellum.h>
#include <vellum/scale/crop_p.h>
#include <vellum/scale/sections_p.h>
#include <vellum/scale/sectionscaler_p.h>
#include <vellum/scale/smoothscale_p.h>

#include <QPixelFormat>

#include <atomic>
#include <new>

namespace vellum::scale {

namespace {

const RowKernels *portableKernels(QImage::Format format)
{
    const int depth = qt_depthForFormat(format);
    if (depth > 32)
        return &scaleRgba64;
    if (depth == 32) {
        const bool alpha = QImage::toPixelFormat(format).alphaUsage() == QPixelFormat::UsesAlpha;
        return alpha ? &scaleAARGBA : &scaleAARGB;
    }
    return depth == 8 ? &scaleAAGray8 : nullptr;
}

/// The form of \a kernels for this processor.
const RowKernels *bestKernels(const RowKernels *kernels)
{
    if (kernels == &scaleAARGBA)
        return VELLUM_CHOOSE_SSE41(&scaleAARGBA, &scaleAARGBASse41);
    if (kernels == &scaleAARGB)
        return VELLUM_CHOOSE_SSE41(&scaleAARGB, &scaleAARGBSse41);
    return kernels;
}

/// The last source row that the last row of the tables looks at.
int lastSourceRow(const ScaleInfo &info)
{
    const int y = info.ypoints.end() - 1;
    if (info.xup_yup & kYUp)
        return info.ypoints[y] + (info.yapoints[y] > 0 ? 1 : 0);
    const Span span = areaSpan(info.ypoints[y], info.yapoints[y]);
    return span.start + span.middle + (span.last > 0 ? 1 : 0);
}

} // namespace

bool SmoothScale::make(const Vellum &source, QImage::Format workFormat, const QSize &size,
                       const QRect &rect)
{
    if (source.isNull() || !isInTarget(rect, size))
        return false;
    m_info = calcScaleInfo(source.width(), source.height(), size.width(), size.height(), rect);
    if (!m_info)
        return false;
    m_halves =
        source.width() == qint64(size.width()) * 2 && source.height() == qint64(size.height()) * 2;
    const int firstRow = m_info->ypoints[rect.top()];
    if (!m_source.make(source, workFormat, firstRow, lastSourceRow(*m_info) - firstRow + 1))
        return false;

    const RowKernels *const portable = portableKernels(workFormat);
    m_kernels = bestKernels(portable);
    if (m_info->xup_yup & kXUp)
        return m_blend.make(*m_info);
    if (!m_area.make(*m_info))
        return false;
    // Sources of a few pixels across are not worth vector forms of their own.
    if (m_kernels && m_kernels->usesPairs && !m_area.makePairs(*m_info))
        m_kernels = portable;
    return true;
}

bool SmoothScale::run(const ResultRows &result, int first, int count) const
{
    if (!m_kernels)
        return true;
    std::atomic<bool> failed {false};
    runScaleSections(m_info->sw, first, count, [&](int yStart, int yEnd) {
        try {
            if (!SectionScaler(*this, result).run(yStart, yEnd))
                failed = true;
        } catch (const std::bad_alloc &) { // from Qt's conversion of a row
            failed = true;
        }
    });
    return !failed;
}

bool findResultRows(ResultRows &rows, Vellum &image, int first)
{
    if (!rows.make(first, image.height()))
        return false;
    for (int y = 0; y < image.height(); ++y) {
        rows[first + y] = image.scanLineEx(y);
        if (!rows[first + y])
            return false;
    }
    return true;
}

} // namespace vellum::scale
