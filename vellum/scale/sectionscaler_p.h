// The work of one thread on a run of result rows.
#pragma once

#include <vellum/scale/smoothscale_p.h>

namespace vellum::scale {

/// Scales result rows one after the other, and looks at every source row once: what a source row
/// gives to the next result row is kept.
class SectionScaler
{
public:
    SectionScaler(const SmoothScale &scale, const ResultRows &result)
        : m_scale(scale), m_info(*scale.m_info), m_kernels(*scale.m_kernels),
          m_rows(scale.m_source), m_result(result)
    {
    }

    /// Scales the rows \a yStart to \a yEnd - 1.
    /// \return false when memory runs out
    [[nodiscard]] bool run(int yStart, int yEnd);

private:
    bool downXY(int yStart, int yEnd);
    bool halveXY(int yStart, int yEnd);
    bool upXDownY(int yStart, int yEnd);
    bool downXUpY(int yStart, int yEnd);
    bool upXY(int yStart, int yEnd);

    const uchar *firstPixel(int y);

    const SmoothScale &m_scale;
    const ScaleInfo &m_info;
    const RowKernels &m_kernels;
    SourceRows m_rows;
    const ResultRows &m_result;
};

} // namespace vellum::scale
