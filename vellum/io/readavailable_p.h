// Reading from devices that give less than was asked for while they have more.
#pragma once

#include <QIODevice>

namespace vellum::io {

/// Reads until \a bytes bytes have come or the device gives no more.
///
/// A read of a sequential device, such as a socket, can be short before the end.
/// \return the number of bytes read
inline int readAvailable(QIODevice &device, uchar *out, int bytes)
{
    int held = 0;
    while (held < bytes) {
        const qint64 got = device.read(reinterpret_cast<char *>(out + held), bytes - held);
        if (got <= 0)
            break;
        held += int(got);
    }
    return held;
}

} // namespace vellum::io
