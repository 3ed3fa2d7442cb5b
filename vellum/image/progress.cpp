#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

#include <cmath>
#include <limits>
#include <utility>

namespace {

/// Truncates towards zero. What no int can hold becomes the smallest int, as the conversion
/// instruction of common processors has it; in C++ that would be undefined.
int truncated(double value)
{
    constexpr double kLowest = std::numeric_limits<int>::min();
    constexpr double kHighest = std::numeric_limits<int>::max();
    const bool fits = value > kLowest - 1 && value < kHighest + 1; // false for NaN
    return fits ? int(value) : std::numeric_limits<int>::min();
}

} // namespace

void Vellum::setCallback(bool (*callback)(void *, int, void *), void *userData, int base,
                         double scale)
{
    m_progressCallback = callback;
    m_progressUserData = userData;
    m_progressBase = base;
    m_progressScale = scale;
}

bool Vellum::set_progress(int position) const
{
    if (!m_progressCallback || !m_progressUserData)
        return true;
    double percent = position;
    percent *= m_progressScale;
    percent *= 100.0;
    percent /= height(); // 0 gives infinity or NaN, reported as the smallest int
    percent = m_progressBase + percent;
    return m_progressCallback(m_progressUserData, truncated(percent), const_cast<Vellum *>(this));
}

void Vellum::copyCallback(const Vellum &other)
{
    setCallback(other.m_progressCallback, other.m_progressUserData, other.m_progressBase,
                other.m_progressScale);
}

bool image_progress(const Vellum *image, int position)
{
    return !image || image->set_progress(position);
}

namespace vellum {

struct ProgressGuard::Private
{
    Vellum &image;
    Report report;
    const std::atomic<bool> *cancel;
    Vellum previous; // a null image that keeps the callback to put back
    std::atomic<bool> cancelled {false};

    static bool poll(void *guard, int percent, void *)
    {
        Private &d = *static_cast<Private *>(guard);
        if (d.cancelled)
            return false;
        const bool goOn = !(d.cancel && *d.cancel) && (!d.report || d.report(percent));
        d.cancelled = !goOn;
        return goOn;
    }
};

ProgressGuard::ProgressGuard(Vellum &image, Report report, const std::atomic<bool> *cancel,
                             int base, double scale, Positions positions)
    : d(new Private {image, std::move(report), cancel, {}})
{
    d->previous.copyCallback(image);
    if (positions == Positions::Percent) {
        // Undoes the division by the height in set_progress. A little too much, because that
        // rounds four times and then truncates: 57 must not arrive as 56.
        scale *= image.height() / 100.0 * (1.0 + std::ldexp(1.0, -50));
    }
    image.setCallback(Private::poll, d.get(), base, scale);
}

ProgressGuard::~ProgressGuard() { d->image.copyCallback(d->previous); }

bool ProgressGuard::cancelled() const { return d->cancelled; }

} // namespace vellum
