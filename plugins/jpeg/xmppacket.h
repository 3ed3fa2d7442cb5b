// XMP packets that are told in two parts.
#pragma once

#include <QByteArray>
#include <QString>

namespace vellum::plugin {

/// A packet without what surrounds its XML: the instructions that mark it, and space to grow.
struct XmpWrapping
{
    QByteArray head; ///< empty when there is none, or more than fits beside a short packet
    QByteArray body;
    QByteArray tail;
};
XmpWrapping unwrapped(const QByteArray &packet);

/// What a packet says of another that holds the rest of it.
struct XmpNote
{
    QByteArray guid; ///< of the other; empty when there is none
    bool isAlone = false; ///< the packet says nothing else
};
XmpNote noteIn(const QString &packet);

/// The body of a packet that says nothing but that the rest of it has the digest \a guid.
QByteArray bodyWithNote(const QByteArray &guid);

/// \a packet, without its note, with all that \a rest describes; null when \a rest is no XMP, or
/// is of a kind whose parsing would take unjustified time or memory.
QString joinedPackets(const QString &packet, const QString &rest);

} // namespace vellum::plugin
