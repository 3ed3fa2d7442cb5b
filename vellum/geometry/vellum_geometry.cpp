// The members of Vellum that mirror and turn.

#include <vellum/geometry/mirror_p.h>
#include <vellum/geometry/rotate_p.h>
#include <vellum/image/derived_p.h>
#include <vellum/image/vellum.h>

Vellum Vellum::mirrored(bool horizontal, bool vertical) const
{
    return mirrored_helper(horizontal, vertical);
}

Vellum Vellum::mirrored_helper(bool horizontal, bool vertical) const
{
    if (isNull())
        return {};
    if ((width() < 2 && height() < 2) || (!horizontal && !vertical))
        return *this;
    Vellum result;
    if (!create(result, width(), height(), format()))
        return {};
    result.setColorTable(colorTable());
    // The padding of one-bit rows moves along, and what a store lacks shows.
    if ((depth() == 1 && horizontal) || !vellum::image::isComplete(*this))
        result.fill(0U);
    vellum::geometry::do_mirror(&result, this, horizontal, vertical);
    return result;
}

Vellum Vellum::rotated(double angle, uint fillColor) const
{
    Vellum result;
    vellum::geometry::rotateImage(result, *this, angle, fillColor);
    return result;
}
