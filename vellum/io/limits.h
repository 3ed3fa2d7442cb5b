// How large pictures may be.
#pragma once

#include <vellum/export.h>

#include <QString>

#include <limits>
#include <optional>

namespace vellum {

/// The largest pictures that files are read into, whatever their headers say.
struct Limits
{
    static constexpr qint64 kNone = std::numeric_limits<qint64>::max();

    qint64 pixels = kNone; ///< of one picture
    qint64 memory = kNone; ///< bytes of its pixels; turning or converting holds two of them
};

/// Half the memory that this process may have: of the machine, or less where the system limits
/// the process or its container. Limits::kNone where that cannot be found out.
VELLUM_EXPORT qint64 affordableMemory();

/// \a base changed by what \a text says, such as "pixels=400M,memory=2G".
///
/// Items are separated by commas, and each is one of the names "pixels" and "memory", "=", and a
/// whole number above 0, which a letter K, M, G or T multiplies by a power of 1024, or "none".
/// \return nothing when \a text is not of this form; an empty text changes nothing
VELLUM_EXPORT std::optional<Limits> parsedLimits(const QString &text, const Limits &base);

/// The limits for calls that are given none of their own.
///
/// Those of the last setDefaultLimits(). Before that, affordableMemory() and any number of pixels,
/// changed by the environment variable VELLUM_LIMITS, which is read when this is first called, as
/// parsedLimits() reads it; what cannot be read is reported as a warning and counts for nothing.
/// May be called from any thread.
VELLUM_EXPORT Limits defaultLimits();

/// Sets the limits of this process. May be called from any thread.
VELLUM_EXPORT void setDefaultLimits(const Limits &limits);

} // namespace vellum
