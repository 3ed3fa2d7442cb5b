// Reading a picture from a file of any kind.
#pragma once

#include "failure.h"
#include "storage.h"
#include <vellum/vellum.h>

#include <QImage>
#include <QRect>
#include <QSize>
#include <QString>

#include <optional>

namespace vellum::tool {

class OutputFile;
class Progress;

/// What is known of a picture before its pixels are read.
struct PictureHeader
{
    QString kind; ///< "png", "hrle", ...; empty if unknown
    QSize size; ///< in pixels, as the picture will be when it is read; empty if unknown
    QImage::Format format = QImage::Format_Invalid; ///< as it will be; invalid if unknown
};

/// What of a picture is to be read, and how.
struct ReadWishes
{
    Storage storage = Storage::Plain;
    QRect region; ///< in pixels of the upright picture; all of it when null
    QSize size; ///< to which it is reduced while it is read; its own when empty
    bool keepDamaged = false; ///< take what could be read, see PictureReader::damage()
};

/// All of the picture, undamaged, on \a storage.
inline ReadWishes wholeOn(Storage storage)
{
    ReadWishes wishes;
    wishes.storage = storage;
    return wishes;
}

/// True for a name that selects the library's own format. Upper case does not.
bool isHrleName(const QString &fileName);

/// Reads one picture.
class PictureReader
{
    Q_DISABLE_COPY(PictureReader)

public:
    /// Opens the file and reads its header; a \c .hrle file is checked from end to end. Throws a
    /// Failure if the file cannot be opened, is no picture or is damaged.
    explicit PictureReader(const QString &fileName);

    const PictureHeader &header() const { return m_header; }

    /// All that the file says of its first picture, or the one last looked at or read.
    const PictureInfo &info() const { return m_file->info(); }

    /// The picture as the decoder gives it, turned upright if the file says how. Never null:
    /// throws a Failure if it cannot be read or the user cancels. Call once.
    /// It has no attachments, which none of the steps that follow would carry on.
    Vellum read(Progress &progress, const ReadWishes &wishes = {});

    /// Takes the picture to \a output while it is read, through \a conversion if there is one, and
    /// never holds more than some of its \a height rows.
    /// \return false if that is not possible, with nothing read; throws a Failure if reading or
    ///         writing fails or the user cancels
    bool stream(const ReadWishes &wishes, int height, OutputFile &output, const SaveOptions &saving,
                const RowConversion &conversion);

    /// What is wrong with the picture that was read, if it was not read whole; else empty.
    const QString &damage() const { return m_damage; }

    int pages() const { return m_file->info().pages; } ///< of the file; 1 where it does not tell

    /// Goes on to \a page, from 0 on, and returns what is known of it. Throws a Failure if there
    /// is none.
    PictureHeader lookAt(int page);

    /// Reads \a page, from 0 on and none twice, into \a picture as read() does, but with EXIF data
    /// and extra channels attached; see ReleasedAttachments.
    void readPage(int page, Vellum &picture, Progress &progress, const ReadWishes &wishes,
                  const Limits &limits = defaultLimits());

    /// The EXIF block of the picture that was read; empty when it has none.
    const QByteArray &exif() const { return m_exif; }

    /// How many extra channels read() left out of the picture.
    int channelsLeftOut() const { return m_channelsLeftOut; }

private:
    void tellRows(int rowsRead, int height);
    [[noreturn]] void fail(FileStatus status, const QString &reason) const;

    QString m_fileName;
    std::optional<PictureFile> m_file; // from the constructor on
    PictureHeader m_header;
    QByteArray m_exif;
    int m_channelsLeftOut = 0;
    QString m_damage;
};

/// Releases what is attached to a picture at the end of the block.
class ReleasedAttachments
{
    Q_DISABLE_COPY(ReleasedAttachments)

public:
    explicit ReleasedAttachments(Vellum &picture) : m_picture(picture) { }
    ~ReleasedAttachments();

private:
    Vellum &m_picture;
};

/// Takes the EXIF data off \a picture, for which an assignment to it would not care.
QByteArray takeExif(Vellum &picture);

} // namespace vellum::tool
