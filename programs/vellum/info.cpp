// vellum info: what a picture is, and what it would cost to hold.

#include "command.h"
#include "failure.h"
#include "printing.h"
#include "reading.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <memory>
#include <vector>

namespace vellum::tool {

namespace {

struct Options
{
    std::vector<std::string> files;
    bool json = false;
};

// What the program and a window of rows take, from measurements with pictures of 600 megapixels.
constexpr qint64 kProgramBytes = qint64(64) << 20;

struct Facts
{
    PictureHeader header;
    PictureInfo stored;
    qint64 fileBytes = 0;
    qint64 pixelBytes = 0;
    Storage storage = Storage::Plain;
};

Facts factsAbout(const QString &fileName)
{
    PictureReader reader(fileName);
    Facts facts;
    facts.header = reader.header();
    facts.stored = reader.info();
    PictureHeader &header = facts.header;
    if (header.size.isEmpty() || header.format == QImage::Format_Invalid) {
        // Some kinds only tell what they are when they are decoded.
        Progress silent(Progress::Mode::None, fileName);
        const Vellum picture = reader.read(silent);
        header.size = picture.size();
        header.format = picture.format();
    }
    facts.fileBytes = QFileInfo(fileName).size();
    facts.pixelBytes = pixelBytes(header.size, header.format);
    facts.storage = chooseStorage(Storage::Auto, facts.pixelBytes);
    return facts;
}

/// What most conversions take: large pictures are not held, of others there may be a copy.
qint64 bytesToConvert(qint64 pixelBytes)
{
    return kProgramBytes + (pixelBytes >= kStreamedFrom ? 0 : 2 * pixelBytes);
}

qint64 bytesToRotate(qint64 pixelBytes) { return kProgramBytes + 2 * pixelBytes; }

/// Short, as for scripts; \a info's where they are not those of \a format.
QString colorsName(const PictureInfo &info, QImage::Format format)
{
    switch (info.colors) {
    case StoredColors::Cmyk:
        return QStringLiteral("CMYK");
    case StoredColors::Lab:
        return QStringLiteral("Lab");
    case StoredColors::AsDecoded:
        break;
    }
    switch (format) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
    case QImage::Format_Indexed8:
        return QStringLiteral("indexed");
    case QImage::Format_Grayscale8:
    case QImage::Format_Grayscale16:
        return QStringLiteral("grey");
    case QImage::Format_Alpha8:
        return QStringLiteral("alpha");
    default:
        return QStringLiteral("RGB");
    }
}

/// How a profile calls itself; nothing for none.
QString profileName(const QByteArray &icc)
{
    if (icc.isEmpty())
        return {};
    const ProfileInfo profile = describeProfile(icc);
    if (!profile.isValid())
        return QStringLiteral("damaged (%1)").arg(profile.problem);
    return profile.description.isEmpty() ? QStringLiteral("without a name") : profile.description;
}

double dotsPerInch(int dotsPerMetre) { return qRound(dotsPerMetre * 0.254) / 10.0; }

QJsonObject toJson(const QString &fileName, const Facts &facts)
{
    QJsonObject object {
        {QStringLiteral("file"), fileName},
        {QStringLiteral("kind"), facts.header.kind},
        {QStringLiteral("width"), facts.header.size.width()},
        {QStringLiteral("height"), facts.header.size.height()},
        {QStringLiteral("format"), formatName(facts.header.format)},
        {QStringLiteral("depth"), formatDepth(facts.header.format)},
        {QStringLiteral("fileBytes"), facts.fileBytes},
        {QStringLiteral("memoryBytes"), facts.pixelBytes},
        {QStringLiteral("storage"), QString::fromLatin1(storageName(facts.storage))},
        {QStringLiteral("bytesToConvert"), bytesToConvert(facts.pixelBytes)},
        {QStringLiteral("bytesToRotate"), bytesToRotate(facts.pixelBytes)},
        {QStringLiteral("colors"), colorsName(facts.stored, facts.header.format)},
        {QStringLiteral("pages"), facts.stored.pages},
    };
    if (!facts.stored.profile.isEmpty())
        object.insert(QStringLiteral("profile"), profileName(facts.stored.profile));
    if (!facts.stored.dotsPerMeter.isEmpty()) {
        object.insert(QStringLiteral("dotsPerMeterX"), facts.stored.dotsPerMeter.width());
        object.insert(QStringLiteral("dotsPerMeterY"), facts.stored.dotsPerMeter.height());
    }
    return object;
}

QString toText(const QString &fileName, const Facts &facts)
{
    const QLocale c = QLocale::c();
    const auto bytes = [&](qint64 count) {
        return QStringLiteral("%1 (%2 bytes)").arg(c.formattedDataSize(count, 1)).arg(count);
    };
    const QSize &resolution = facts.stored.dotsPerMeter;
    const QString dpi = resolution.isEmpty()
        ? QStringLiteral("not stated")
        : QStringLiteral("%1 x %2 dpi (%3 x %4 pixels per metre)")
              .arg(dotsPerInch(resolution.width()))
              .arg(dotsPerInch(resolution.height()))
              .arg(resolution.width())
              .arg(resolution.height());
    const QString profile = profileName(facts.stored.profile);
    const QString pages = facts.stored.pages > 1
        ? QStringLiteral("  pages       %1; this is the first\n").arg(facts.stored.pages)
        : QString();
    return QStringLiteral("%1\n"
                          "  kind        %2, %3\n")
               .arg(fileName, facts.header.kind, bytes(facts.fileBytes)) +
        pages +
        QStringLiteral("  size        %1 x %2 pixels\n"
                       "  colours     %3, profile: %4\n"
                       "  format      %5\n"
                       "  depth       %6 bits per pixel\n"
                       "  resolution  %7\n")
            .arg(facts.header.size.width())
            .arg(facts.header.size.height())
            .arg(colorsName(facts.stored, facts.header.format),
                 profile.isEmpty() ? QStringLiteral("none") : profile,
                 formatName(facts.header.format))
            .arg(formatDepth(facts.header.format))
            .arg(dpi) +
        QStringLiteral("  memory      %1\n"
                       "  storage     %2\n"
                       "  needs       up to %3 to convert, %4 to rotate\n")
            .arg(bytes(facts.pixelBytes), QLatin1String(storageName(facts.storage)),
                 c.formattedDataSize(bytesToConvert(facts.pixelBytes), 1),
                 c.formattedDataSize(bytesToRotate(facts.pixelBytes), 1));
}

int run(const Options &options)
{
    int code = Done;
    QJsonArray all;
    for (const std::string &name : options.files) {
        const QString fileName = fromShell(name);
        try {
            const Facts facts = factsAbout(fileName);
            if (options.json)
                all.append(toJson(fileName, facts));
            else
                printOut(toText(fileName, facts).toLocal8Bit());
        } catch (const Failure &failure) {
            if (failure.code != InputError)
                throw;
            printError(failure);
            code = failure.code;
            all.append(QJsonObject {{QStringLiteral("file"), fileName},
                                    {QStringLiteral("error"), failure.reason}});
        }
    }
    if (options.json)
        printOut(QJsonDocument(all).toJson());
    return code;
}

} // namespace

Command infoCommand(CLI::App &app)
{
    const auto options = std::make_shared<Options>();
    CLI::App *const command =
        app.add_subcommand("info", "Tell size, colours, resolution and memory needs of pictures");
    command->add_option("FILE", options->files, "Pictures of any kind that can be read")
        ->required();
    command->add_flag("--json", options->json, "Print one JSON array with an object per file");
    addVerboseOption(*command);
    command->footer("A file that cannot be read is reported, and the others are still shown.\n\n"
                    "Example:\n"
                    "  vellum info photo.jpg mask.hrle");
    return {command, [options] { return run(*options); }};
}

} // namespace vellum::tool
