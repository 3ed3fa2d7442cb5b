// What is told of two pictures that were compared.
#pragma once

#include "difference.h"

#include <QByteArray>
#include <QString>

namespace vellum::tool {

struct ComparedFile
{
    QString file;
    Vellum pixels;
    QByteArray profile;
};

/// What came out.
struct Comparison
{
    bool sameSize = false;
    bool sameColors = true; ///< both profiles mean the same
    Measure measure;
    Difference difference; ///< when the sizes are the same

    bool isEqual() const { return sameSize && difference.differentPixels == 0; }
};

QByteArray asJson(const ComparedFile &a, const ComparedFile &b, const Comparison &comparison);

QByteArray asText(const ComparedFile &a, const ComparedFile &b, const Comparison &comparison);

} // namespace vellum::tool
