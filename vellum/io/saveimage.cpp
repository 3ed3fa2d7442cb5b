#include <vellum/image/heldattachments_p.h>
#include <vellum/io/encoding_p.h>
#include <vellum/io/saveimage.h>
#include <vellum/io/savepictures_p.h>
#include <vellum/io/targetfile_p.h>

#include <QFileInfo>
#include <QTemporaryFile>

#include <deque>

namespace vellum {

namespace io {

namespace {

constexpr int kReady = 30; // percent

QByteArray formatFor(const QString &file, const SaveOptions &options)
{
    if (!options.format.isEmpty())
        return options.format;
    // Upper case does not select HRLE: what was written would not be read again.
    const QByteArray format = QFileInfo(file).suffix().toLower().toLatin1();
    return format == "hrle" && !file.endsWith(QLatin1String(".hrle")) ? QByteArray() : format;
}

/// Copies that are the encoder's, linked, with the attachments that files hold.
class Pages
{
    Q_DISABLE_COPY(Pages)

public:
    Pages() = default;
    ~Pages()
    {
        for (Vellum &page : m_pages) {
            image::HeldAttachments::takeBackChannels(page);
            const image::HeldAttachments released(page);
        }
    }

    SaveResult add(const Vellum &image, const Encoder &encoder, const SaveOptions &options,
                   JobProgress &progress)
    {
        Vellum &page = m_pages.emplace_back(image);
        const SaveResult result = makeReady(page, encoder, options, progress);
        if (result) {
            image::copyExif(page, image);
            image::HeldAttachments::lendChannels(page, image);
            if (m_pages.size() > 1)
                m_pages[m_pages.size() - 2].setNextImage(&page);
        }
        return result;
    }

    Vellum &head() { return m_pages.front(); }

private:
    std::deque<Vellum> m_pages;
};

SaveResult write(const QVector<const Vellum *> &images, QIODevice &device, const QByteArray &format,
                 const SaveOptions &options, JobProgress &progress)
{
    const Encoder encoder = findEncoder(format, device);
    if (images.size() > 1 && !encoder.writesChains()) {
        return saveFailure(FileStatus::NotAPicture,
                           QStringLiteral("files of kind %1 hold one picture only")
                               .arg(QString::fromLatin1(encoder.format)));
    }
    Pages pages;
    for (int i = 0; i < images.size(); ++i) {
        progress.beginStage(kReady * (i + 1) / images.size());
        const SaveResult result = pages.add(*images.at(i), encoder, options, progress);
        if (!result)
            return result;
    }
    progress.beginStage(100);
    SaveResult result = encode(pages.head(), encoder, device, options, progress);
    // The last chance to say "stop".
    if (result && !progress.poll(1))
        result = saveFailure(FileStatus::Cancelled, QStringLiteral("cancelled"));
    return result;
}

SaveResult measure(const QVector<const Vellum *> &images, const QByteArray &format,
                   const SaveOptions &options, JobProgress &progress)
{
    QTemporaryFile file; // what some encoders write first they read again, or overwrite
    if (!file.open())
        return saveFailure(FileStatus::NotWritten, file.errorString());
    SaveResult result = write(images, file, format, options, progress);
    if (result && !file.flush())
        result = saveFailure(FileStatus::NotWritten, file.errorString());
    if (result)
        result.bytes = file.size();
    return result;
}

} // namespace

SaveResult savePictures(const QVector<const Vellum *> &images, const QString &file,
                        const SaveOptions &options)
{
    JobProgress progress(options.progress, options.cancel, *images.first());
    const QByteArray format = formatFor(file, options);
    if (options.sizeOnly)
        return measure(images, format, options, progress);
    TargetFile target(file, progress);
    SaveResult result = target.openForWriting();
    if (result)
        result = write(images, target, format, options, progress);
    if (!result) {
        if (result.status == FileStatus::NotWritten && target.hasFailed())
            result.message = target.reason();
        return result;
    }
    result = target.finish();
    if (result)
        result.bytes = QFileInfo(file).size();
    return result;
}

SaveResult writePictures(const QVector<const Vellum *> &images, QIODevice &device,
                         const SaveOptions &options)
{
    JobProgress progress(options.progress, options.cancel, *images.first());
    if (options.sizeOnly)
        return measure(images, options.format, options, progress);
    if (!device.isWritable())
        return saveFailure(FileStatus::NotWritten, QStringLiteral("not open for writing"));
    const qint64 start = device.isSequential() ? 0 : device.pos();
    SaveResult result = write(images, device, options.format, options, progress);
    if (result && !device.isSequential())
        result.bytes = device.pos() - start;
    return result;
}

} // namespace io

SaveResult saveImage(const Vellum &image, const QString &file, const SaveOptions &options)
{
    return io::savePictures({&image}, file, options);
}

SaveResult saveImage(const Vellum &image, QIODevice &device, const SaveOptions &options)
{
    return io::writePictures({&image}, device, options);
}

} // namespace vellum
