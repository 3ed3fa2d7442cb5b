// What an ICC profile says about itself.
#pragma once

#include <vellum/color/renderingintent.h>
#include <vellum/export.h>

#include <QByteArray>
#include <QString>
#include <QVector>

#include <optional>

namespace vellum {

/// The description of a profile. What the profile does not tell is empty.
struct ProfileInfo
{
    struct Xyz
    {
        double x, y, z;
    };

    QString problem; ///< why the bytes are no profile, in English; empty when they are one
    QString description; ///< the profile's name, in English if it has one
    QString colorSpace; ///< of the pixels: "RGB", "CMYK", "Gray", "Lab", "XYZ", or ICC's signature
    QString connectionSpace; ///< "Lab" or "XYZ"; of a device link, its second colour space
    QString version; ///< such as "2.4"
    QString deviceClass; ///< "input", "display", "output", "link", "space", "abstract", "named"
    std::optional<Xyz> whitePoint; ///< of the medium; in version 4 of all but output profiles, D50
    QVector<RenderingIntent> intents; ///< that the profile offers in at least one direction
    std::optional<double> inkLimit; ///< most ink that a CMYK press profile lays down, in percent

    bool isValid() const { return problem.isEmpty(); }
};

/// Describes \a icc, the bytes of a complete ICC profile.
///
/// Sizes and offsets in the bytes are checked against what is there before anything is read: the
/// length in the header, the number of tags and the place of each tag. A profile that is cut off
/// is not valid. Whether the tags are enough for a conversion only the conversion can tell.
///
/// Safe on any bytes. Takes some milliseconds for a press profile, whose ink limit is measured.
VELLUM_EXPORT ProfileInfo describeProfile(const QByteArray &icc);

} // namespace vellum
