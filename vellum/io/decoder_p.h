// One file being decoded, whoever decodes it.
#pragma once

#include <vellum/io/filestatus.h>
#include <vellum/io/handleroptions.h>
#include <vellum/io/jobprogress_p.h>
#include <vellum/io/picturefile.h>

#include <QFile>
#include <QString>
#include <QVariant>

#include <memory>

namespace vellum::io {

/// A file for decoders that have no other way to show progress or to be stopped.
class WatchedFile : public QFile
{
public:
    using QFile::QFile;

    JobProgress *progress = nullptr; ///< fails every read once the job is cancelled; may be null
    bool showsProgress = false; ///< as the part of the file that has been read

protected:
    qint64 readData(char *data, qint64 size) override;
};

/// How a decoder goes through the rows of an image that it fills.
struct RowFlow
{
    RowOrder order = RowOrder::None; ///< see kReadOrder
    QImage::Format format = QImage::Format_Invalid; ///< of that image
};

class Decoder
{
    Q_DISABLE_COPY(Decoder)

public:
    Decoder() = default;
    virtual ~Decoder() = default;

    /// The page that is next to be read, as it is stored: the size is not upright.
    virtual PictureInfo info() const = 0;

    /// Goes on to \a page, from 0 on. \return false when there is none, or it lies behind
    virtual bool goTo(int page) = 0;

    /// True when the rows of a big image can be filled directly.
    virtual bool fillsBigImages() const { return false; }

    /// True when it takes an image of info()'s size and format to fill.
    virtual bool fillsImages() const { return true; }

    /// \return false when the decoder knows nothing of \a option, which then is not applied
    virtual bool setOption(QImageIOHandler::ImageOption option, const QVariant &value) = 0;

    /// What the next read does, with the options that have been set.
    virtual RowFlow rowFlow() const { return {}; }

    /// Reads the page into \a image, which is null or of the right size and format, and counts
    /// the \a rows that were read, if it can.
    /// \return Done, Damaged or OutOfMemory; anything once the job is cancelled
    virtual FileStatus read(Vellum &image, JobProgress &progress, int &rows) = 0;

    /// Why the file is damaged, one clause, once it has been read; empty when that is not known.
    virtual QString fault() const = 0;
};

/// What is wrong with the damaged file of \a decoder, which has been read: one clause.
[[nodiscard]] QString damage(const Decoder &decoder);

/// The decoder for the file \a fileName; null when it is no picture. What is wrong with the file,
/// as far as that shows without decoding it, is in \a result.
[[nodiscard]] std::unique_ptr<Decoder> makeDecoder(const QString &fileName, OpenResult &result);

} // namespace vellum::io
