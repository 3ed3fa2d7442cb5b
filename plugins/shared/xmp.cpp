#include "shared/xmp.h"

namespace vellum::plugin {

const char *const kXmpKey = "XML:com.adobe.xmp";

QString xmpText(QByteArray packet)
{
    if (packet.size() > kMostXmpBytes)
        return {};
    while (packet.endsWith('\0')) // some writers fill up their place
        packet.chop(1);
    const QString text = QString::fromUtf8(packet);
    return text.contains(QChar::ReplacementCharacter) && text.toUtf8() != packet
        ? QString::fromLatin1(packet)
        : text;
}

QByteArray xmpPacket(const QString &text)
{
    const QByteArray packet = text.size() <= kMostXmpBytes ? text.toUtf8() : QByteArray();
    return packet.size() <= kMostXmpBytes ? packet : QByteArray();
}

} // namespace vellum::plugin
