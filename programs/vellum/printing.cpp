#include "printing.h"

#include "failure.h"

#include <cstdio>

namespace vellum::tool {

void printOut(const QByteArray &text)
{
    const auto size = size_t(text.size());
    const bool written =
        std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!written)
        throw Failure(OutputError, {}, QStringLiteral("standard output cannot be written"));
}

} // namespace vellum::tool
