// How much two pictures of one size differ.
#pragma once

#include <vellum/image/progress.h>
#include <vellum/image/vellum.h>

#include <QByteArray>
#include <QPoint>

#include <array>
#include <optional>

namespace vellum::tool {

struct ComparedPicture
{
    const Vellum &picture;
    QByteArray profile; ///< of its pixels; empty for sRGB
};

/// What counts as a difference.
struct Measure
{
    /// By dE00, with alpha in percent, instead of by numbers, in steps of 8 bits.
    bool byColor = false;
    double tolerance = 0; ///< the largest difference that does not count
};

struct Difference
{
    struct Channel
    {
        int largest = 0; ///< in steps of 16 bits, 257 of which are one of 8 bits
        double mean = 0;
    };
    struct Color
    {
        double largest = 0;
        double mean = 0;
    };
    std::array<Channel, 4> channels; ///< red, green, blue, alpha
    std::optional<Color> color; ///< dE00, when compared by colour
    qint64 differentPixels = 0; ///< that differ by more than the tolerance
    QPoint first; ///< of these in reading order
};

/// Compares the pixels of two pictures of the same size, on whatever storage and in whatever
/// format each is: channels of 8 bits are taken times 257, palettes by their colours.
///
/// \param map  if not null, a Grayscale16 picture of the same size, which gets 0 where a pixel
///             does not differ, and a larger number the more it differs
/// \param report  asked before every strip
/// \return nothing when \a report answers false, memory runs out, or a profile cannot be used
std::optional<Difference> differenceOf(const ComparedPicture &a, const ComparedPicture &b,
                                       const Measure &measure, Vellum *map,
                                       const ProgressGuard::Report &report);

} // namespace vellum::tool
