// XMP packets, which images keep as a text.
#pragma once

#include <QByteArray>
#include <QString>

namespace vellum::plugin {

/// The text's key, that under which PNG files hold it: "XML:com.adobe.xmp".
extern const char *const kXmpKey;

/// Larger packets are neither read nor written: nobody else handles them, and neither can Qt
/// handle all of them as text.
constexpr int kMostXmpBytes = 64 << 20;

/// \a packet, from a file, as text; null when it is too large. Zeros that follow it are left out.
QString xmpText(QByteArray packet);

/// \a text as the packet that a file gets; null when it is too large.
QByteArray xmpPacket(const QString &text);

} // namespace vellum::plugin
