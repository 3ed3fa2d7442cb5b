#include "jpeg/xmpmarkers.h"

#include "jpeg/errors.h"
#include "jpeg/xmppacket.h"
#include "shared/xmp.h"

#include <QCryptographicHash>
#include <QtEndian>

#include <algorithm>

namespace vellum::plugin {

namespace {

constexpr int kMostMarkerBytes = 65533;
constexpr int kMostPacketBytes = 65502; // as the format has it: two less than there is room for

const QByteArray &packetPrefix()
{
    static const QByteArray prefix("http://ns.adobe.com/xap/1.0/\0", 29);
    return prefix;
}

const QByteArray &restPrefix()
{
    static const QByteArray prefix("http://ns.adobe.com/xmp/extension/\0", 35);
    return prefix;
}

/// What stands between the prefix of a part and its bytes: whose it is, the bytes of all parts,
/// and the place of this one among them.
constexpr int kGuidBytes = 32;
constexpr int kHeaderBytes = kGuidBytes + 4 + 4;

struct Part
{
    explicit Part(const QByteArray &content)
        : all(qFromBigEndian<quint32>(content.constData() + kGuidBytes)),
          offset(qFromBigEndian<quint32>(content.constData() + kGuidBytes + 4)),
          bytes(QByteArray::fromRawData(content.constData() + kHeaderBytes,
                                        content.size() - kHeaderBytes))
    {
    }

    quint32 all;
    quint32 offset;
    QByteArray bytes; // of the content
};

QByteArray encoded(int number)
{
    QByteArray bytes(4, '\0');
    qToBigEndian(quint32(number), bytes.data());
    return bytes;
}

} // namespace

bool XmpMarkers::take(const QByteArray &content)
{
    if (content.startsWith(packetPrefix())) {
        if (m_packet.isEmpty()) // there must be no other
            m_packet = content.mid(packetPrefix().size());
        return true;
    }
    if (!content.startsWith(restPrefix()))
        return false;
    if (content.size() > restPrefix().size() + kHeaderBytes)
        m_parts.push_back(content.mid(restPrefix().size()));
    return true;
}

QString XmpMarkers::text() const
{
    const QString packet = xmpText(m_packet);
    const XmpNote note = m_parts.empty() ? XmpNote() : noteIn(packet);
    const QByteArray rest = note.guid.isEmpty() ? QByteArray() : restOf(note.guid);
    if (!rest.isEmpty() && note.isAlone) {
        const XmpWrapping around = unwrapped(m_packet);
        return xmpText(around.head + rest + around.tail);
    }
    const QString joined = rest.isEmpty() ? QString() : joinedPackets(packet, xmpText(rest));
    if (joined.isEmpty() && !m_parts.empty())
        qCWarning(jpegLog) << "parts of the XMP packet are ignored: they do not fit together";
    return joined.isEmpty() ? packet : joined;
}

/// The parts with \a guid put together; empty when they overlap, or some are missing.
QByteArray XmpMarkers::restOf(const QByteArray &guid) const
{
    std::vector<Part> parts;
    qint64 size = 0;
    for (const QByteArray &content : m_parts) {
        if (content.left(kGuidBytes).compare(guid, Qt::CaseInsensitive) == 0) {
            parts.emplace_back(content);
            size += parts.back().bytes.size();
        }
    }
    if (size > kMostXmpBytes)
        return {};
    std::stable_sort(parts.begin(), parts.end(),
                     [](const Part &a, const Part &b) { return a.offset < b.offset; });
    QByteArray rest;
    rest.reserve(int(size));
    for (const Part &part : parts) {
        if (part.all != size || part.offset != quint32(rest.size()))
            return {};
        rest += part.bytes;
    }
    return rest;
}

std::vector<QByteArray> xmpMarkersOf(const QString &text)
{
    const QByteArray packet = xmpPacket(text);
    if (packet.isEmpty()) {
        qCWarning(jpegLog) << "XMP is left out: it has more than" << kMostXmpBytes << "bytes";
        return {};
    }
    if (packet.size() <= kMostPacketBytes)
        return {packetPrefix() + packet};
    const XmpWrapping parts = unwrapped(packet);
    const QByteArray guid =
        QCryptographicHash::hash(parts.body, QCryptographicHash::Md5).toHex().toUpper();
    std::vector<QByteArray> markers {packetPrefix() + parts.head + bodyWithNote(guid) + parts.tail};
    const QByteArray header = restPrefix() + guid + encoded(parts.body.size());
    const int room = kMostMarkerBytes - restPrefix().size() - kHeaderBytes;
    for (int offset = 0; offset < parts.body.size(); offset += room)
        markers.push_back(header + encoded(offset) + parts.body.mid(offset, room));
    return markers;
}

} // namespace vellum::plugin
