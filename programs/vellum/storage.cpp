#include "storage.h"

#include <QMetaEnum>

namespace vellum::tool {

// QPixelFormat leaves out padding bits; an image knows what its pixels really take.
int formatDepth(QImage::Format format) { return QImage(1, 1, format).depth(); }

Storage chooseStorage(Storage wanted, qint64 bytes)
{
    if (wanted != Storage::Auto)
        return wanted;
    return bytes >= kBigFrom ? Storage::Big : Storage::Plain;
}

const char *storageName(Storage storage) { return storage == Storage::Big ? "big" : "plain"; }

QString formatName(QImage::Format format)
{
    const char *const key = QMetaEnum::fromType<QImage::Format>().valueToKey(format);
    return QString::fromLatin1(key).mid(int(qstrlen("Format_")));
}

} // namespace vellum::tool
