// Handlers of format plugins that write, and what they are told.
#pragma once

#include <vellum/io/imageplugins_p.h>

#include <QByteArray>
#include <QImageIOHandler>
#include <QString>

#include <memory>

class QIODevice;

namespace vellum::io {

struct WriteSettings
{
    int quality = -1;
    int compression = -1;
    float gamma = 0.0F;
    QString description; // passed on unless empty, as is the next
    QByteArray subType;
    bool optimizedWrite = false;
    bool progressiveScanWrite = false;
};

/// A handler of \a plugin's for \a format on \a device; null when it does not write that.
[[nodiscard]] std::unique_ptr<QImageIOHandler>
makeWritingHandler(const ImagePlugin &plugin, QIODevice *device, const QByteArray &format);

/// Hands \a settings to \a handler, as far as it knows them.
void passSettings(QImageIOHandler &handler, const WriteSettings &settings);

} // namespace vellum::io
