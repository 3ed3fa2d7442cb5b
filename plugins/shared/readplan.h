// Which pixels of a picture a read needs, and what becomes of them.
#pragma once

#include "shared/axis.h"

#include <QRect>

namespace vellum::plugin {

/// QImageReader's options: first the picture is clipped, then scaled, then clipped again. An
/// empty rectangle or size asks for nothing.
struct ReadRequest
{
    QRect clip; ///< in stored pixels
    QSize scaled;
    QRect scaledClip; ///< in result pixels
    bool keepDamaged = false; ///< see vellum::KeepDamaged
};

/// The geometry of one read. Rectangles reach into the picture only; what lies outside it is
/// ignored, as Qt's own plugins do.
class ReadPlan
{
public:
    /// \param stored    size of the picture
    /// \param bottomUp  whether rows are counted from the bottom: in region() and rows(), and in
    ///                  the order of the result
    ReadPlan(const QSize &stored, const ReadRequest &request, bool bottomUp);

    /// False when nothing of the picture is asked for.
    bool isValid() const { return !m_output.isEmpty(); }

    QSize outputSize() const { return m_output.size(); }

    /// The size of the whole picture at the scale of the result: the smallest that serves.
    QSize wholeAtScale() const;

    /// The picture will come at \a size, smaller than stored.
    void setDelivered(const QSize &size);

    Axis columns() const; ///< in delivered pixels
    Axis rows() const; ///< in delivered pixels

    /// The delivered pixels that columns() and rows() look at.
    QRect region() const;

private:
    QSize m_stored;
    QSize m_delivered;
    QRect m_clip; // in stored pixels
    QSize m_scaled; // of the clip
    QRect m_output; // in pixels of m_scaled
};

} // namespace vellum::plugin
