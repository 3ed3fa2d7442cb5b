// Two format plugins for tests: what they shall do, and what they were asked.
#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QImage>
#include <QImageIOHandler>
#include <QList>
#include <QMap>
#include <QVariant>

#include <functional>
#include <vector>

namespace vellum::test {

/// What an image file starts with that the plugins claim to read; a space and the format's name
/// follow. Everything else about the picture is told by Behaviour.
constexpr char kTestImage[] = "TESTIMAGE";

enum class Asked { Capabilities, Create, Delete, Supports, Option, SetOption, Read, Write };

/// One question to a plugin or its handler, and the state of things at that moment.
struct Call
{
    QByteArray plugin; ///< "first" or "second"
    Asked asked = Asked::Create;
    const QIODevice *device = nullptr; ///< the argument, or that of the handler
    QIODevice::OpenMode mode; ///< of the device
    QByteArray format; ///< the argument, or that of the handler
    int option = -1; ///< of Supports, Option and SetOption
    QVariant value; ///< given or handed over

    // Read and Write: the image, and what it said of itself when it is a Vellum.
    const QImage *image = nullptr;
    int page = 0; ///< that the handler has gone to
    bool isVellum = false;
    bool isBig = false;
    QSize size;
    QImage::Format imageFormat = QImage::Format_Invalid;
    unsigned int readOptions = 0;
    QByteArray profile;
    bool saveAsCmyk = false;
    bool hasCmykTransform = false;
};

/// How one of the plugins behaves.
struct Behaviour
{
    bool reads = true; ///< claims files that start with kTestImage
    QList<QByteArray> writes; ///< formats that it says it can write, whatever its keys
    QList<int> options; ///< supported ones
    QMap<int, QVariant> values; ///< of options; those not in here are as they were set
    int pages = 1; ///< in every file
    std::function<bool(QImage *)> read; ///< fails when there is none
    std::function<bool(const QImage &, QIODevice *)>
        write; ///< when there is none, writes "written"
};

struct Recorder
{
    Behaviour first; ///< of the plugin that Qt finds first
    Behaviour second;
    std::vector<Call> calls;
};

/// The one of this process. A test starts with recorder() = {}.
Recorder &recorder();

} // namespace vellum::test
