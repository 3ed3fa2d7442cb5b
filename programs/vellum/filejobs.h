// The files of a command: one picture into another, or many into a folder, and the running of it.
#pragma once

#include "outputfile.h"
#include "progressboard.h"
#include "storage.h"

#include <QString>

#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}

namespace vellum::tool {

class Pipeline;

/// How the pixels are packed. What a kind of file does not know is ignored.
struct EncodingOptions
{
    int quality = -1; ///< 0 to 100; -1: the kind's default, like the next
    int compression = -1;
    bool progressive = false;
    std::string subType; ///< a name the kind has; empty: its default
};

/// What a command is told about files, as it stands on the command line.
struct FileOptions
{
    std::vector<std::string> files; ///< IN OUT, or with a folder or inPlace, IN...
    std::string folder; ///< where to write to
    std::string name; ///< template of the files in it
    std::string kind; ///< "png", of the files in it; empty: that of the input
    bool inPlace = false;
    Existing existing = Existing::Replace;
    bool keepGoing = false;
    int jobs = 1;
    Storage storage = Storage::Auto;
    ProgressBoard::Mode progress = ProgressBoard::Mode::Auto;
    EncodingOptions encoding;
};

/// The way of one picture.
struct FileJob
{
    QString input;
    QString output;
};

/// Adds the arguments IN OUT, or what \a description says, and all that FileOptions holds.
void addFiles(CLI::App &command, FileOptions &options,
              const std::string &description =
                  "IN and OUT, or with -o or --in-place, pictures to read. The ending\n"
                  "of OUT says which kind of file it is: .hrle (8-bit grey), or any\n"
                  "kind that can be written");

/// Adds what FileOptions holds about writing, but for the files themselves: storage, progress, how
/// to pack the pixels and what becomes of existing files.
void addWritingOptions(CLI::App &command, FileOptions &options);

/// Adds \c --output, \c --name and \c --type.
CLI::Option *addFolderOptions(CLI::App &command, FileOptions &options);

/// Adds \c --no-clobber and \c --force.
void addExistingOptions(CLI::App &command, Existing &existing);

/// Throws a Failure if \a output is the file \a input, by whatever names.
void refuseInput(const QString &output, const QString &input);

/// Adds \c --jobs.
void addJobsOption(CLI::App &command, FileOptions &options);

/// The ways that \a options ask for. Throws a Failure if they make no sense together, or if a
/// file would be written twice, or over a picture that is read without \c --in-place.
std::vector<FileJob> plannedJobs(const FileOptions &options);

/// Calls \a work with a pipeline for each of the jobs, several at a time if the options say so.
///
/// With several pictures, one that fails is reported and the others go on; at the end, a line
/// sums up. \return Done, or Partial when some of several failed or a damaged one was written as
/// far as it went. Throws the Failure if there is only one, if all fail alike, and on a cancel.
int runJobs(const FileOptions &options, const std::function<void(Pipeline &)> &work);

} // namespace vellum::tool
