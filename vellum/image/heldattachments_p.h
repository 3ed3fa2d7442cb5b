// What belongs to an image object, carried from one to another.
#pragma once

#include <vellum/image/vellum.h>

#include <QPoint>
#include <QSize>

#include <functional>

namespace vellum::image {

/// Attachments taken out of an image: EXIF, layer record and groups, extra channels, the pointer
/// to a colour-space factory, and the placement offset.
///
/// An assignment to an image forgets what is attached to it. Take it out before, and give it back
/// to whatever has the pixels in the end; what is not given back is released.
class HeldAttachments
{
    Q_DISABLE_COPY(HeldAttachments)

public:
    /// Leaves \a image without attachments.
    explicit HeldAttachments(Vellum &image);
    ~HeldAttachments();

    /// Puts them on \a image; what it had is released.
    void giveTo(Vellum &image);

    /// Releases the extra channels, which no longer fit the picture.
    void dropChannels();

    /// Rearranges the extra channels of a picture of size \a from as its pixels were: the pixel at
    /// p in a picture of size \a to was at origin(p). Neighbours in a row stay neighbours in a row
    /// or column.
    /// \return false, without channels, when memory runs out
    [[nodiscard]] bool rearrangeChannels(const QSize &from, const QSize &to,
                                         const std::function<QPoint(QPoint)> &origin);

    /// Has \a to, a copy without channels of its own, show the extra channels of \a from, which
    /// keeps them: takeBackChannels() comes before either is changed or destroyed.
    static void lendChannels(Vellum &to, const Vellum &from);
    static void takeBackChannels(Vellum &to);

private:
    Vellum m_holder; // without pixels
};

/// A copy of the EXIF data of \a from for \a to, which is to have no attachments yet.
void copyExif(Vellum &to, const Vellum &from);

} // namespace vellum::image
