#include "jobs.h"

#include "photo.h"
#include <vellum/vellum.h>

#include <QImageReader>
#include <QImageWriter>
#include <QThreadPool>

#include <cstdio>

namespace vellum::bench {

namespace {

int fail(const QString &message)
{
    std::fprintf(stderr, "%s\n", qPrintable(message));
    return 1;
}

int write(const Vellum &image, const QString &file, SaveOptions options = {})
{
    if (file.endsWith(QLatin1String("tiled.tif")))
        options.subType = "none-tiled";
    if (file.endsWith(QLatin1String(".png")))
        options.compression = 12; // zlib's level 1: the files are made to be read
    const SaveResult result = saveImage(image, file, options);
    return result ? 0 : fail(result.message);
}

int make(const QStringList &args)
{
    Vellum image;
    if (!Vellum::createBig(image, args[0].toInt(), args[1].toInt(), QImage::Format_RGB888))
        return fail(QStringLiteral("no memory"));
    fillWithPhoto(image);
    for (const QString &file : args.mid(2)) {
        if (const int code = write(image, file); code != 0)
            return code;
    }
    return 0;
}

int convert(const QString &in, const OpenOptions &opening, const QString &out,
            const SaveOptions &saving = {})
{
    Vellum image;
    const OpenResult result = openImage(image, in, opening);
    if (!result)
        return fail(result.message);
    return out.isEmpty() ? 0 : write(image, out, saving);
}

QSize reduced(const QSize &size, const QString &side)
{
    return size.scaled(side.toInt(), side.toInt(), Qt::KeepAspectRatio);
}

int thumbnail(const QStringList &args)
{
    OpenOptions options;
    options.size = reduced(QImageReader(args[0]).size(), args[2]);
    return convert(args[0], options, args[1]);
}

int crop(const QStringList &args)
{
    OpenOptions options;
    options.region = {args[2].toInt(), args[3].toInt(), args[4].toInt(), args[5].toInt()};
    return convert(args[0], options, args[1]);
}

int cmyk(const QStringList &args)
{
    QThreadPool::globalInstance()->setMaxThreadCount(args[2].toInt());
    SaveOptions options;
    options.cmyk = true;
    return convert(args[0], {}, args[1], options);
}

int qtConvert(const QStringList &args, bool reduce)
{
    QImageReader reader(args[0]);
    if (reduce)
        reader.setScaledSize(reduced(reader.size(), args[2]));
    const QImage image = reader.read();
    if (image.isNull())
        return fail(reader.errorString());
    QImageWriter writer(args.value(1));
    return !reduce || writer.write(image) ? 0 : fail(writer.errorString());
}

} // namespace

int runJob(const QStringList &arguments)
{
    const QString job = arguments.value(0);
    const QStringList args = arguments.mid(1);
    const auto is = [&](const char *name, int count) {
        return job == QLatin1String(name) && args.size() >= count;
    };
    if (is("qt-thumbnail", 3))
        return qtConvert(args, true);
    if (is("qt-read", 1))
        return qtConvert(args, false);
    if (!registerPlugins())
        return fail(QStringLiteral("the library's plugins are not there"));
    if (is("make", 3))
        return make(args);
    if (is("thumbnail", 3))
        return thumbnail(args);
    if (is("read", 1))
        return convert(args[0], {}, QString());
    if (is("crop", 6))
        return crop(args);
    if (is("cmyk", 3))
        return cmyk(args);
    return fail(QStringLiteral("there is no such job"));
}

} // namespace vellum::bench
