// Text keys, from files to images and back.
#pragma once

#include "shared/picture.h"

namespace vellum::plugin {

/// True for the keys that Vellum::save() reads as options. A file must not set options, and
/// options are not written into files.
bool isSaveOption(const QString &key);

/// \name Names of extra channels
/// An image keeps them under a text key of their own, one per line.
/// @{
extern const char *const kChannelNamesKey;
QStringList channelNames(const QImage &image);
/// @}

/// The texts that an image file gets: those of \a image, and those of \a description, in the
/// form "key: value", one after the other with an empty line between; text without a key has the
/// key "Description". Options of saving and names of
/// channels are left out.
QVector<Text> textsToWrite(const QImage &image, const QString &description);

/// \a texts in the form that textsToWrite() takes.
QString describe(const QVector<Text> &texts);

} // namespace vellum::plugin
