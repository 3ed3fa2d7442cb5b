// How much ink a picture takes on a press.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>
#include <QJsonObject>
#include <QPoint>
#include <QString>

#include <array>
#include <optional>

namespace vellum::tool {

/// Amounts of ink in percent of the area covered: 100 for one full ink, 400 for all four.
struct InkReport
{
    double largest = 0; ///< sum of the four inks of the pixel that has most
    QPoint largestAt; ///< the first such pixel in reading order
    double mean = 0; ///< sum of the four inks, over all pixels
    std::array<double, 4> inkMeans {}; ///< cyan, magenta, yellow, black, over all pixels
};

/// Measures what \a picture becomes in the colours of a press.
///
/// \param source      profile of the pixels of \a picture, which are RGB or grey; empty for sRGB,
///                    or grey with sRGB's tone curve
/// \param press       bytes of a CMYK profile
/// \param conversion  on the way to the press
/// \param report      gets the percentage done, and answers true to go on
/// \return nothing when \a report answered false, memory runs out, or a profile is damaged or does
///         not fit
///
/// On plain and big pictures alike. Inks are counted in 255 steps, as convertColors() makes them;
/// pixels count as their colours, however transparent they are.
std::optional<InkReport> inkReport(const Vellum &picture, const QByteArray &source,
                                   const QByteArray &press, const ColorConversion &conversion,
                                   const ProgressGuard::Report &report);

/// Lines like those of <tt>vellum info</tt>, each with its end.
QString toText(const InkReport &report);

QJsonObject toJson(const InkReport &report);

} // namespace vellum::tool
