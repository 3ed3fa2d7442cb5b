// Pictures a strip of rows at a time, so that working on them takes little memory beside theirs.
#pragma once

#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

#include <QtGlobal>

namespace vellum::tool {

/// Pixels of a strip, at least a row.
enum class StripSize {
    Small = 1 << 16, ///< a few milliseconds of work, so that whoever asks to stop is heard soon
    Large = 1 << 22, ///< for work that costs something to begin, and can be stopped within
};

/// \a count rows of \a picture, plain or big, from row \a y on, as a plain image of \a format;
/// null when memory runs out. Pixels are converted as vellum::converted() does it.
Vellum strip(const Vellum &picture, int y, int count, QImage::Format format);

/// Calls operation(y, rows) for the strips of a picture of \a size from top to bottom, and before
/// each \a report with the percentage done; ends with 100.
/// \return false as soon as \a operation or \a report answers false
template <typename Operation>
[[nodiscard]] bool forEachStrip(const QSize &size, StripSize pixels,
                                const ProgressGuard::Report &report, Operation operation)
{
    const int step = qMax(1, int(pixels) / qMax(1, size.width()));
    for (int y = 0; y < size.height(); y += step) {
        if (!report(int(qint64(y) * 100 / size.height())) ||
            !operation(y, qMin(step, size.height() - y)))
            return false;
    }
    return report(100);
}

} // namespace vellum::tool
