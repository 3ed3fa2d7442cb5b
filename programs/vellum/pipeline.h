// Reading a picture, changing it and writing it: what most commands do.
#pragma once

#include "filejobs.h"
#include "outputfile.h"
#include "progress.h"
#include "reading.h"
#include "writing.h"
#include <vellum/vellum.h>

#include <QElapsedTimer>

namespace vellum::tool {

/// The way of one picture from file to file: read, change what read() returned in one or more
/// stages, write. Every step throws a Failure if it is not possible or the user cancels, and then
/// nothing has been written.
class Pipeline
{
    Q_DISABLE_COPY(Pipeline)

public:
    /// Opens the input and a temporary file beside the output. All three must outlive it.
    Pipeline(const FileOptions &options, const FileJob &job, ProgressBoard &board);

    const PictureHeader &header() const { return m_reader.header(); }
    const QString &inputName() const { return m_job.input; }
    const QString &outputName() const { return m_job.output; }
    Storage storage() const { return m_options.storage; }
    bool tellsJson() const { return m_options.progress == ProgressBoard::Mode::Json; }
    OutputFile &output() { return m_output; }

    /// Throws a Failure if the kind of file to write cannot hold a picture of \a size. To be asked
    /// early where the size is known; write() asks anyway.
    void checkFits(const QSize &size) const;

    /// How many stages come between reading and writing, for the progress.
    void expectStages(int count) { m_stages = count; }

    /// The picture as the decoder gives it, in the first half of the progress.
    Vellum read(const ReadWishes &wishes = {});

    /// Takes the picture, which has \a size when it is read as \a reading says, to the output
    /// without holding it, through \a conversion if there is one, and gives the output its name.
    /// \return false if that is not possible, with nothing done; then read() and write() are
    bool stream(const ReadWishes &reading, const QSize &size, const WriteWishes &writing,
                const RowConversion &conversion);

    /// Begins the next stage, called \a name.
    Progress &begin(const char *name);

    /// Moves \a picture to the storage that was asked for, so that a stage works there.
    void move(Vellum &picture);

    /// Where a stage puts a result of this size and format.
    vellum::Storage storageFor(const QSize &size, QImage::Format format) const;

    /// Takes the \a result of a stage, a null image if it could not be finished. Shows with -v
    /// what was \a done and how long it took.
    Vellum finished(Vellum result, const char *done);

    /// Writes \a picture and gives the output its name. \a picture becomes what was written.
    /// \a preparing names the stage that gives it the form of the file.
    void write(Vellum &picture, const WriteWishes &wishes = {}, const char *preparing = "convert");

    /// False when what was read is damaged, and was written as far as it went.
    bool isWhole() const { return m_isWhole; }

private:
    ReadWishes completed(ReadWishes wishes) const;
    WriteWishes completed(WriteWishes wishes) const;
    void tell(const QString &file, const char *done, const Vellum &picture);
    void tellDamage();

    const FileOptions &m_options;
    const FileJob &m_job;
    QByteArray m_kind;
    QElapsedTimer m_clock;
    PictureReader m_reader;
    OutputFile m_output;
    Progress m_progress;
    int m_stages = 1;
    int m_stage = 0; // those begun
    int m_percent = 0; // where the next stage begins
    bool m_isWhole = true;
};

} // namespace vellum::tool
