// How much memory smooth scaling of a large big image takes beyond the image itself.
//
// Usage: vellum_peak_memory [WIDTH HEIGHT SIDE]   size of the image, longer side of the result

#include <vellum/vellum.h>

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace {

/// The line \a name of /proc/self/status, in MB; 0 where there is no such thing.
double statusMegabytes(const char *name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name))
            return line.simplified().split(' ').value(1).toDouble() * 1024 / 1e6;
    }
    return 0;
}

/// Makes the peak start anew from what is resident now.
bool resetPeak()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    return file.open(QIODevice::WriteOnly) && file.write("5") == 1;
}

double megabytes(const Vellum &image)
{
    return double(image.bytesPerLine()) * image.height() / 1e6;
}

/// \return false when memory runs out
bool report(const Vellum &image, const QSize &size, vellum::Storage storage)
{
    if (!resetPeak())
        std::fputs("The peak cannot be reset here: it is that of all that ran.\n", stderr);
#ifdef __GLIBC__
    malloc_trim(0); // what earlier results gave back would be used again
#endif
    const double before = statusMegabytes("VmRSS:");
    const Vellum result = vellum::smoothScaled(image, size, QRect(), storage);
    const double added = statusMegabytes("VmHWM:") - before;
    std::printf("%-14s %5d x %-5d %7.1f MB; at the peak %7.1f MB more than the source\n",
                storage == vellum::Storage::Big ? "big result" : "plain result", result.width(),
                result.height(), megabytes(result), added);
    return !result.isNull();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv); // whose folder holds the colour profiles
    const auto number = [&](int i, int otherwise) {
        return argc == 4 ? std::atoi(argv[i]) : otherwise;
    };
    const QSize size(number(1, 24000), number(2, 20000));
    const int side = number(3, 3000);
    // Averaged as they are, and converted row by row.
    for (const QImage::Format format :
         {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32}) {
        Vellum image;
        if (!Vellum::createBig(image, size.width(), size.height(), format))
            return 1;
        image.fill(0x80336640U);
        std::printf("%-14s %5d x %-5d %7.1f MB%s\n", "source", image.width(), image.height(),
                    megabytes(image), format == QImage::Format_ARGB32 ? ", not premultiplied" : "");
        const QSize target = size.scaled(side, side, Qt::KeepAspectRatio);
        for (const auto storage : {vellum::Storage::Plain, vellum::Storage::Big}) {
            if (!report(image, target, storage))
                return 1;
        }
    }
    return 0;
}
