#include <vellum/io/cutshort_p.h>
#include <vellum/io/decoder_p.h>
#include <vellum/io/handleroptions.h>
#include <vellum/io/hrlecheck.h>
#include <vellum/io/hrlehandler.h>
#include <vellum/io/imageplugins_p.h>

#include <QFileInfo>
#include <QImageIOPlugin>
#include <QImageReader>

#include <optional>

namespace vellum::io {

namespace {

using Option = QImageIOHandler::ImageOption;

/// Qt's JPEG decoder answers anything when a header is damaged.
QImage::Format checkedFormat(int format)
{
    const bool known = format > QImage::Format_Invalid && format < QImage::NImageFormats;
    return known ? QImage::Format(format) : QImage::Format_Invalid;
}

/// Other plugins may answer anything.
StoredColors checkedColors(int colors)
{
    const bool known = colors >= int(StoredColors::AsDecoded) && colors <= int(StoredColors::Lab);
    return known ? StoredColors(colors) : StoredColors::Unknown;
}

QString cutShortFault() { return QStringLiteral("the file is damaged or cut short"); }

class HrleDecoder : public Decoder
{
public:
    HrleDecoder(QString fileName, const HrleCheck &check)
        : m_fileName(std::move(fileName)), m_check(check)
    {
    }

    PictureInfo info() const override
    {
        PictureInfo info;
        info.kind = "hrle";
        info.size = {m_check.width, m_check.height};
        info.format = QImage::Format_Grayscale8;
        info.colors = StoredColors::AsDecoded;
        info.dotsPerMeter = {m_check.dotsPerMeterX, m_check.dotsPerMeterY};
        return info;
    }
    bool goTo(int page) override { return page == 0; }
    bool fillsImages() const override { return false; }
    bool setOption(Option, const QVariant &) override { return false; }
    QString fault() const override { return m_check.reason; }

    FileStatus read(Vellum &image, JobProgress &progress, int &rows) override
    {
        const ProgressGuard guard = progress.watch(image);
        const bool complete = m_check.status == HrleCheck::Complete;
        rows = m_check.rows;
        if (HrleHandler().readFile(image, m_fileName) && complete)
            return FileStatus::Done;
        return complete ? FileStatus::OutOfMemory : FileStatus::Damaged;
    }

private:
    QString m_fileName;
    HrleCheck m_check;
};

/// A handler of a plugin that fills a Vellum.
struct VellumHandler
{
    std::unique_ptr<QImageIOHandler> handler; ///< null for none
    bool tellsRowOrder = false;
};

/// A plugin that fills a Vellum, plain or big, driven without QImageReader, which would ask
/// others first.
class PluginDecoder : public Decoder
{
public:
    PluginDecoder(std::unique_ptr<WatchedFile> file, VellumHandler handler)
        : m_file(std::move(file)), m_handler(std::move(handler.handler)),
          m_tellsRowOrder(handler.tellsRowOrder)
    {
    }

    PictureInfo info() const override
    {
        PictureInfo info;
        info.kind = m_handler->format();
        info.size = option(Option::Size).toSize();
        info.format = checkedFormat(option(Option::ImageFormat).toInt());
        info.transformation =
            QImageIOHandler::Transformations(option(Option::ImageTransformation).toInt());
        info.pages = qMax(1, m_handler->imageCount());
        info.colors = checkedColors(option(kStoredColors).toInt());
        info.profile = option(kStoredProfile).toByteArray();
        info.dotsPerMeter = option(kStoredResolution).toSize();
        return info;
    }

    bool goTo(int page) override
    {
        if (page != m_page && !m_handler->jumpToImage(page)) {
            if (page < m_page)
                return false;
            for (; m_page < page; ++m_page) {
                if (!m_handler->jumpToNextImage())
                    return false;
            }
        }
        m_page = page;
        return true;
    }

    bool fillsBigImages() const override { return true; }

    bool setOption(Option option, const QVariant &value) override
    {
        if (!m_handler->supportsOption(option))
            return false;
        m_handler->setOption(option, value);
        return true;
    }

    QString fault() const override { return {}; }

    RowFlow rowFlow() const override
    {
        if (!m_tellsRowOrder)
            return {};
        return {RowOrder(m_handler->option(kReadOrder).toInt()),
                checkedFormat(m_handler->option(kReadFormat).toInt())};
    }

    FileStatus read(Vellum &image, JobProgress &progress, int &rows) override
    {
        m_file->progress = &progress;
        const int height = image.height();
        int position = 0;
        bool read = false;
        {
            const ProgressGuard guard = progress.watchRows(image, position);
            read = m_handler->read(&image);
        }
        m_file->progress = nullptr;
        const QVariant counted = m_handler->option(kRowsRead);
        if (counted.isValid())
            rows = counted.toInt();
        else if (height > 0)
            rows = read ? height : position;
        return read && !image.isNull() ? FileStatus::Done : FileStatus::Damaged;
    }

private:
    QVariant option(Option option) const
    {
        return m_handler->supportsOption(option) ? m_handler->option(option) : QVariant();
    }

    std::unique_ptr<WatchedFile> m_file;
    std::unique_ptr<QImageIOHandler> m_handler;
    bool m_tellsRowOrder;
    int m_page = 0;
};

/// All that Qt reads.
class QtDecoder : public Decoder
{
public:
    explicit QtDecoder(std::unique_ptr<WatchedFile> file)
        : m_file(std::move(file)), m_reader(m_file.get())
    {
        m_reader.setAutoTransform(false);
    }

    bool canRead() const { return m_reader.canRead(); }

    PictureInfo info() const override
    {
        PictureInfo info;
        info.kind = m_reader.format();
        info.size = m_reader.size();
        info.format = checkedFormat(int(m_reader.imageFormat()));
        info.transformation = m_reader.transformation();
        info.pages = qMax(1, m_reader.imageCount());
        return info;
    }

    bool goTo(int page) override
    {
        if (page == m_page)
            return true;
        if (page < m_page)
            return false;
        if (!m_reader.jumpToImage(page)) {
            for (; m_page < page; ++m_page) {
                // Reading a frame of an animation moves on to the next.
                const bool moves = m_reader.jumpToNextImage() || m_hasRead || skip();
                if (!moves)
                    return false;
                m_hasRead = false;
            }
        }
        m_page = page;
        m_hasRead = false;
        return true;
    }

    bool setOption(Option option, const QVariant &value) override
    {
        if (!m_reader.supportsOption(option)) // the reader would read it all and then scale
            return false;
        if (option == Option::ScaledSize)
            m_reader.setScaledSize(value.toSize());
        else if (option == Option::ClipRect)
            m_reader.setClipRect(value.toRect());
        else
            return false;
        return true;
    }

    QString fault() const override { return m_fault; }

    FileStatus read(Vellum &image, JobProgress &progress, int &) override
    {
        if (isCutShort(*m_file))
            m_fault = cutShortFault();
        m_file->progress = &progress;
        m_file->showsProgress = true;
        const bool read = m_reader.read(&image) && !image.isNull();
        m_file->progress = nullptr;
        m_hasRead = true;
        if (!read && m_fault.isEmpty())
            m_fault = m_reader.errorString();
        return m_fault.isEmpty() ? FileStatus::Done : FileStatus::Damaged;
    }

private:
    bool skip()
    {
        QImage frame;
        return m_reader.read(&frame);
    }

    std::unique_ptr<WatchedFile> m_file;
    QImageReader m_reader;
    int m_page = 0;
    bool m_hasRead = false; // the page
    QString m_fault;
};

OpenResult failed(FileStatus status, const QString &message)
{
    OpenResult result;
    result.status = status;
    result.message = message;
    return result;
}

std::unique_ptr<Decoder> makeHrleDecoder(const QString &fileName, OpenResult &result)
{
    const HrleCheck check = checkHrle(fileName);
    switch (check.status) {
    case HrleCheck::Unreadable:
        result = failed(FileStatus::NotFound, check.reason);
        return nullptr;
    case HrleCheck::NotHrle:
        result = failed(FileStatus::NotAPicture, check.reason);
        return nullptr;
    case HrleCheck::Damaged:
        result = failed(FileStatus::Damaged, check.reason);
        result.rowsRead = check.rows;
        break;
    case HrleCheck::Complete:
        break;
    }
    return std::make_unique<HrleDecoder>(fileName, check);
}

/// The handler of the first plugin that fills a Vellum and can read \a file.
VellumHandler vellumHandler(QIODevice &file)
{
    const QList<ImagePlugin> plugins = imagePlugins();
    for (const ImagePlugin &plugin : plugins) {
        QImageIOPlugin *const instance = plugin.knowsVellum ? pluginInstance(plugin) : nullptr;
        if (!instance || !(instance->capabilities(&file, {}) & QImageIOPlugin::CanRead))
            continue;
        std::unique_ptr<QImageIOHandler> handler(instance->create(&file, {}));
        if (!handler)
            continue;
        handler->setDevice(&file);
        if (handler->canRead())
            return {std::move(handler), plugin.tellsRowOrder};
    }
    return {};
}

} // namespace

qint64 WatchedFile::readData(char *data, qint64 size)
{
    if (progress) {
        const bool showable = showsProgress && !isSequential() && this->size() > 0;
        if (!progress->poll(showable ? double(pos()) / double(this->size()) : 0))
            return -1;
    }
    return QFile::readData(data, size);
}

QString damage(const Decoder &decoder)
{
    const QString fault = decoder.fault();
    return fault.isEmpty() ? QStringLiteral("the file is damaged") : fault;
}

std::unique_ptr<Decoder> makeDecoder(const QString &fileName, OpenResult &result)
{
    if (fileName.endsWith(QLatin1String(".hrle")))
        return makeHrleDecoder(fileName, result);
    auto file = std::make_unique<WatchedFile>(fileName);
    if (QFileInfo(fileName).isDir()) {
        result = failed(FileStatus::NotFound, QStringLiteral("is a folder"));
        return nullptr;
    }
    if (!file->open(QIODevice::ReadOnly)) {
        result = failed(FileStatus::NotFound, file->errorString());
        return nullptr;
    }
    if (auto handler = vellumHandler(*file); handler.handler)
        return std::make_unique<PluginDecoder>(std::move(file), std::move(handler));
    if (file->peek(2) == "BM" && isCutShort(*file)) // its header tells
        result = failed(FileStatus::Damaged, cutShortFault());
    auto decoder = std::make_unique<QtDecoder>(std::move(file));
    if (decoder->canRead())
        return decoder;
    result = failed(FileStatus::NotAPicture, QStringLiteral("not a picture of a supported kind"));
    return nullptr;
}

} // namespace vellum::io
