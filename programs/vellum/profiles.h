// Colour profiles of pictures and files, and conversion to them.
#pragma once

#include <vellum/vellum.h>

#include <QByteArray>
#include <QString>

#include <optional>

namespace vellum::tool {

class Progress;

/// The profile that \a picture's file brought along; empty when it had none.
QByteArray embeddedProfile(const Vellum &picture);

/// The bytes of the file \a fileName if it begins as an ICC profile does; nothing if it does not.
/// Throws a Failure if the file cannot be read.
std::optional<QByteArray> readIccFile(const QString &fileName);

/// The profile that the user calls \a name: "srgb", "cmyk" or a file. Throws a Failure if it
/// is no whole profile.
QByteArray profileNamed(const QString &name);

/// \a picture, read from \a fileName, in the colours of \a profile. Throws a Failure when it
/// cannot be converted or the user cancels.
Vellum toProfile(const Vellum &picture, const QString &fileName, const QByteArray &profile,
                 const ColorConversion &conversion, Progress &progress);

} // namespace vellum::tool
