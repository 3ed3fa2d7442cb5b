// The channels of a picture, each as a grey picture.
#pragma once

#include "storage.h"
#include <vellum/vellum.h>

#include <QString>
#include <QVector>

namespace vellum::tool {

struct Channel
{
    QString name;
    int bits; ///< per sample: 8 or 16
    bool isExtra; ///< one beside the colours, as Vellum::channelsData() has them
    int index; ///< of its samples among those of its kind in a pixel
};

/// The extra channels of \a picture in the order of the file. Those without a name are numbered.
QVector<Channel> extraChannels(const Vellum &picture);

/// Those that \a picture is shown with: grey, or red, green and blue, and alpha if it has it.
QVector<Channel> colorChannels(const Vellum &picture);

/// \a channel of \a picture, in Grayscale8 or Grayscale16 by its bits, on \a storage, with the
/// resolution of \a picture.
/// \return null when memory runs out or \a report, asked before every strip, answers false
Vellum channelPicture(const Vellum &picture, const Channel &channel, Storage storage,
                      const ProgressGuard::Report &report);

} // namespace vellum::tool
