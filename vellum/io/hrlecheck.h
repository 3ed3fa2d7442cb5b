// Telling a complete HRLE file from a damaged one.
#pragma once

#include <vellum/export.h>

#include <QString>

class QIODevice;

namespace vellum {

/// What checkHrle() found out about a file.
struct HrleCheck
{
    enum Status {
        Complete, ///< the file holds exactly the pixels that its header states
        Unreadable, ///< the file cannot be opened for reading, or is a pipe or the like
        NotHrle, ///< HrleHandler would refuse the header
        Damaged ///< the header is fine, but what follows is not exactly what it states
    };

    Status status = Unreadable;
    QString reason; ///< one clause for a person, in English; empty when complete
    int width = 0; ///< in pixels; 0 unless complete or damaged
    int height = 0; ///< in pixels, never negative; 0 unless complete or damaged
    int rows = 0; ///< that are there whole: from the top when compressed, else from the bottom
    bool compressed = false; ///< run-length data; false unless complete or damaged
    int dotsPerMeterX = 0; ///< as in the header; 0 unless complete or damaged
    int dotsPerMeterY = 0; ///< as in the header; 0 unless complete or damaged
};

/// Checks the file \a fileName as the overload does.
VELLUM_EXPORT HrleCheck checkHrle(const QString &fileName);

/// Tells whether \a device, from its current position to its end, is a complete HRLE file.
///
/// HrleHandler::readStream() fills what a file lacks with zeros and answers true; use this where
/// that matters. With raw rows a file is complete when its length is that of the headers and the
/// rows. Run-length data is walked to the end, through a buffer of a few kilobytes: each row must
/// be described to its last byte, and the rows must be as many as the header states.
///
/// \param device  open for reading, not sequential; its position afterwards is undefined
VELLUM_EXPORT HrleCheck checkHrle(QIODevice &device);

} // namespace vellum
