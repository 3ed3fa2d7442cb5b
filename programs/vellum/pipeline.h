// Reading a picture, changing it and writing it: what most commands do.
#pragma once

#include "outputfile.h"
#include "progress.h"
#include "reading.h"
#include "storage.h"
#include <vellum/vellum.h>

#include <QElapsedTimer>

#include <string>

namespace CLI {
class App;
}

namespace vellum::tool {

/// What such a command is told about files, as it stands on the command line.
struct FileOptions
{
    std::string input;
    std::string output;
    Storage storage = Storage::Auto;
    Progress::Mode progress = Progress::Mode::Auto;
};

/// Adds the argument for a picture to read, called \a name in the help.
void addInput(CLI::App &command, const char *name, std::string &input, const char *description);

/// Adds the argument OUT and what FileOptions holds but the input.
void addOutput(CLI::App &command, FileOptions &options);

/// addInput() for IN, then addOutput().
void addFiles(CLI::App &command, FileOptions &options);

/// The way of one picture from file to file: read, change what read() returned in one or more
/// stages, write. Every step throws a Failure if it is not possible or the user cancels, and then
/// nothing has been written.
class Pipeline
{
    Q_DISABLE_COPY(Pipeline)

public:
    /// Opens the input and a temporary file beside the output.
    explicit Pipeline(const FileOptions &options);

    const PictureHeader &header() const { return m_reader.header(); }
    OutputFile &output() { return m_output; }

    /// Throws a Failure if the kind of file to write cannot hold a picture of \a size. To be asked
    /// early where the size is known; write() asks anyway.
    void checkFits(const QSize &size) const;

    /// The picture as the decoder gives it, in the first half of the progress.
    Vellum read();

    /// Begins the stage \a name, up to \a to percent of the whole: at most kStagesEnd.
    Progress &begin(const char *name, int to = kStagesEnd);
    static constexpr int kStagesEnd = 70;

    /// Moves \a picture to the storage that was asked for, so that a stage works there.
    void move(Vellum &picture);

    /// Where a stage puts a result of this size and format.
    vellum::Storage storageFor(const QSize &size, QImage::Format format) const;

    /// Takes the \a result of a stage, a null image if it could not be finished. Shows with -v
    /// what was \a done and how long it took.
    Vellum finished(Vellum result, const char *done);

    /// Whether write() makes a CMYK file.
    void saveAsCmyk(bool cmyk) { m_cmyk = cmyk; }

    /// Writes \a picture and gives the output its name. \a picture becomes what was written.
    /// \a preparing names the stage that gives it the form of the file.
    void write(Vellum &picture, const char *preparing = "convert");

private:
    void tell(const QString &file, const char *done, const Vellum &picture);

    QString m_inName;
    QString m_outName;
    QByteArray m_kind;
    Storage m_storage;
    bool m_cmyk = false;
    QElapsedTimer m_clock;
    PictureReader m_reader;
    OutputFile m_output;
    Progress m_progress;
    int m_percent = 0; // where the next stage begins
};

} // namespace vellum::tool
