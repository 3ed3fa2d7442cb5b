#include "shared/readplan.h"

#include <cmath>

namespace vellum::plugin {

namespace {

QRect inside(const QSize &size, const QRect &wanted)
{
    const QRect whole(QPoint(0, 0), size);
    return wanted.isNull() ? whole : whole.intersected(wanted);
}

QRect countedFromBottom(QRect rect, int height)
{
    rect.moveTop(height - rect.top() - rect.height());
    return rect;
}

} // namespace

ReadPlan::ReadPlan(const QSize &stored, const ReadRequest &request, bool bottomUp)
    : m_stored(stored), m_delivered(stored), m_clip(inside(stored, request.clip)),
      m_scaled(request.scaled.isEmpty() ? m_clip.size() : request.scaled),
      m_output(m_clip.isEmpty() ? QRect() : inside(m_scaled, request.scaledClip))
{
    if (bottomUp) {
        m_clip = countedFromBottom(m_clip, m_stored.height());
        m_output = countedFromBottom(m_output, m_scaled.height());
    }
}

QSize ReadPlan::wholeAtScale() const
{
    const auto scaled = [](int stored, int clip, int result) {
        return int(std::ceil(qMin(1.0, double(result) / clip) * stored));
    };
    return {scaled(m_stored.width(), m_clip.width(), m_scaled.width()),
            scaled(m_stored.height(), m_clip.height(), m_scaled.height())};
}

void ReadPlan::setDelivered(const QSize &size) { m_delivered = size; }

Axis ReadPlan::columns() const
{
    const double perStored = double(m_delivered.width()) / m_stored.width();
    return {m_clip.x() * perStored, m_clip.width() * perStored, m_scaled.width(),
            m_output.x(),           m_output.width(),           m_delivered.width()};
}

Axis ReadPlan::rows() const
{
    const double perStored = double(m_delivered.height()) / m_stored.height();
    return {m_clip.y() * perStored, m_clip.height() * perStored, m_scaled.height(),
            m_output.y(),           m_output.height(),           m_delivered.height()};
}

QRect ReadPlan::region() const
{
    const Axis x = columns();
    const Axis y = rows();
    return {x.begin(), y.begin(), x.end() - x.begin(), y.end() - y.begin()};
}

} // namespace vellum::plugin
