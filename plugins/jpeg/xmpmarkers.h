// XMP as the markers of a JPEG file: one, or, when it is large, one and those of the rest.
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

namespace vellum::plugin {

/// Gathers the packet of a file from its markers.
class XmpMarkers
{
public:
    /// Takes the content of an APP1 marker. \return false when it is none of XMP
    bool take(const QByteArray &content);

    /// The whole packet; empty when there is none. A rest of it that is not complete, or not the
    /// one that the packet asks for, is ignored, with a message.
    QString text() const;

private:
    QByteArray restOf(const QByteArray &guid) const;

    QByteArray m_packet;
    std::vector<QByteArray> m_parts; // of packets' rests, each with its header
};

/// The contents of the APP1 markers that hold the packet \a text.
///
/// One that is too large for a marker becomes the rest of a packet that says nothing else: so it
/// comes back as it was, whatever is in it. Beyond kMostXmpBytes there are none, and a message.
std::vector<QByteArray> xmpMarkersOf(const QString &text);

} // namespace vellum::plugin
