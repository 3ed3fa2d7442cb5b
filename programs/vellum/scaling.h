// Pictures in another size.
#pragma once

#include "storage.h"
#include <vellum/vellum.h>

namespace CLI {
class App;
}

namespace vellum::tool {

class OutputFile;
class Progress;

/// How a picture fills the size that is asked for.
enum class Fitting {
    Fit, ///< inside it, in its own proportions
    Fill, ///< wholly, in its own proportions; what is over is cut off, equally on both sides
    Stretch, ///< wholly, in other proportions
};

/// The size that the user asks for: one of the first four, or none.
struct ScalingOptions
{
    QSize size;
    int width = 0;
    int height = 0;
    double percent = 0;
    Fitting fitting = Fitting::Fit; ///< with size
    bool onlyDown = false; ///< leaves smaller pictures as they are
    QRect crop; ///< in pixels of the scaled picture; all of it when null
    bool fast = false; ///< picks pixels instead of averaging them

    bool isWanted() const { return !size.isEmpty() || width > 0 || height > 0 || percent > 0; }
};

/// Adds the options for the size, of which \a required says whether one must be given, and for
/// how to get there.
void addScalingOptions(CLI::App &command, ScalingOptions &options, bool required);

/// What of a picture in another size is wanted.
struct Target
{
    QSize size; ///< of the whole picture; both sides at least 1
    QRect part; ///< of that; at least one pixel, inside it
};

/// What \a options make of a picture of the size \a source, called \a fileName. Throws a Failure if
/// that is nothing or too large.
Target targetFor(const ScalingOptions &options, const QSize &source, const QString &fileName);

/// The part of \a picture that \a target says, with its metadata, on \a storage.
///
/// \param fast  picks pixels instead of averaging them
///
/// Shows progress and cancels between bands of rows. Throws a Failure if memory runs out or the
/// user cancels.
Vellum scaledPicture(Vellum &picture, const Target &target, bool fast, Storage storage,
                     Progress &progress, OutputFile &output);

} // namespace vellum::tool
