#include "pipeline.h"

#include "command.h"
#include "messages.h"
#include "rows.h"
#include "writing.h"

namespace vellum::tool {

namespace {

constexpr int kReadEnd = 50; // percent, as is the next
constexpr int kConvertEnd = 75;

QElapsedTimer startedClock()
{
    QElapsedTimer clock;
    clock.start();
    return clock;
}

} // namespace

void addInput(CLI::App &command, const char *name, std::string &input, const char *description)
{
    command.add_option(name, input, description)->required();
}

void addOutput(CLI::App &command, FileOptions &options)
{
    command
        .add_option("OUT", options.output,
                    "The file to write; its ending says which kind: .hrle (8-bit grey),\n"
                    "or any kind Qt writes")
        ->required();
    addStorageOption(command, options.storage);
    addProgressOption(command, options.progress);
    addVerboseOption(command);
}

void addFiles(CLI::App &command, FileOptions &options)
{
    addInput(command, "IN", options.input, "The picture to read: .hrle, or any kind Qt reads");
    addOutput(command, options);
}

Pipeline::Pipeline(const FileOptions &options)
    : m_inName(fromShell(options.input)), m_outName(fromShell(options.output)),
      m_kind(outputKind(m_outName)), m_storage(options.storage), m_clock(startedClock()),
      m_reader(m_inName), m_output(m_outName), m_progress(options.progress, m_inName)
{
}

void Pipeline::checkFits(const QSize &size) const { tool::checkFits(m_kind, size, m_outName); }

Vellum Pipeline::read()
{
    begin("read", kReadEnd);
    Vellum picture = m_reader.read(m_progress, m_storage);
    tell(m_inName, "read", picture);
    return picture;
}

Progress &Pipeline::begin(const char *name, int to)
{
    m_progress.begin(name, m_percent, to);
    m_percent = to;
    return m_progress;
}

void Pipeline::move(Vellum &picture)
{
    if (m_storage == Storage::Auto)
        return; // it lies already where it takes no more memory
    picture = arranged(picture, picture.format(), m_storage, m_progress);
    if (picture.isNull())
        m_output.fail(QStringLiteral("not enough memory for the picture"));
}

vellum::Storage Pipeline::storageFor(const QSize &size, QImage::Format format) const
{
    const bool big = chooseStorage(m_storage, pixelBytes(size, format)) == Storage::Big;
    return big ? vellum::Storage::Big : vellum::Storage::Plain;
}

Vellum Pipeline::finished(Vellum result, const char *done)
{
    if (result.isNull())
        m_output.fail(QStringLiteral("not enough memory for the picture"));
    tell(m_outName, done, result);
    return result;
}

void Pipeline::write(Vellum &picture, const char *preparing)
{
    checkFits(picture.size());
    begin(preparing, kConvertEnd);
    picture = prepared(picture, m_kind, m_storage, m_progress, m_output);
    tell(m_outName, "converted", picture);

    begin("write", 100);
    writePicture(picture, m_reader.exif(), m_kind, m_cmyk, m_progress, m_output);
    m_output.commit();
    tell(m_outName, "written", picture);
    m_progress.finish();
}

void Pipeline::tell(const QString &file, const char *done, const Vellum &picture)
{
    printVerbose(QStringLiteral("%1: %2, %3 in %4 s")
                     .arg(file, described(picture), QLatin1String(done))
                     .arg(double(m_clock.restart()) / 1000, 0, 'f', 3));
}

} // namespace vellum::tool
