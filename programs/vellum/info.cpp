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
    PictureInfo picture;
    qint64 fileBytes = 0;
    qint64 pixelBytes = 0;
    Storage storage = Storage::Plain;
};

Facts factsAbout(const QString &fileName)
{
    PictureReader reader(fileName);
    Facts facts;
    facts.picture = reader.info();
    PictureInfo &picture = facts.picture;
    if (picture.size.isEmpty() || picture.format == QImage::Format_Invalid) {
        // Some kinds only tell what they are when they are decoded.
        Progress silent(Progress::Mode::None, fileName);
        const Vellum decoded = reader.read(silent);
        picture.size = decoded.size();
        picture.format = decoded.format();
    }
    facts.fileBytes = QFileInfo(fileName).size();
    facts.pixelBytes = pixelBytes(picture.size, picture.format);
    facts.storage = chooseStorage(Storage::Auto, facts.pixelBytes);
    return facts;
}

/// True of kinds whose rows come from the top as every kind of file takes them, interlaced pictures
/// apart.
bool canStream(const PictureInfo &picture)
{
    return picture.colors != StoredColors::Unknown && picture.kind != "bmp" &&
        picture.kind != "hrle";
}

/// What most conversions take: large pictures are not held, of others there may be a copy.
qint64 bytesToConvert(const PictureInfo &picture, qint64 pixelBytes)
{
    const bool isHeld = pixelBytes < kStreamedFrom || !canStream(picture);
    return kProgramBytes + (isHeld ? 2 * pixelBytes : 0);
}

qint64 bytesToRotate(qint64 pixelBytes) { return kProgramBytes + 2 * pixelBytes; }

/// The kind of colours as stored, in a word or two; empty when it is not known.
QString colorsName(const PictureInfo &picture)
{
    switch (picture.colors) {
    case StoredColors::Unknown:
        return {};
    case StoredColors::Cmyk:
        return QStringLiteral("CMYK");
    case StoredColors::Lab:
        return QStringLiteral("Lab");
    case StoredColors::AsDecoded:
        break;
    }
    switch (picture.format) {
    case QImage::Format_Mono:
    case QImage::Format_MonoLSB:
        return QStringLiteral("bilevel");
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

QString profileText(const QByteArray &icc)
{
    if (icc.isEmpty())
        return QStringLiteral("none");
    const ProfileInfo profile = describeProfile(icc);
    if (!profile.isValid())
        return QStringLiteral("damaged, ") + profile.problem;
    return profile.description.isEmpty() ? QStringLiteral("has no name") : profile.description;
}

QString colorsText(const PictureInfo &picture)
{
    const QString name = colorsName(picture);
    return name.isEmpty() ? QStringLiteral("not known")
                          : name + QStringLiteral(", profile: ") + profileText(picture.profile);
}

double dotsPerInch(int dotsPerMetre) { return qRound(dotsPerMetre * 0.254) / 10.0; }

void insertColors(QJsonObject &object, const PictureInfo &picture)
{
    if (picture.colors == StoredColors::Unknown)
        return;
    object.insert(QStringLiteral("colors"), colorsName(picture));
    if (picture.profile.isEmpty())
        return;
    const ProfileInfo profile = describeProfile(picture.profile);
    object.insert(QStringLiteral("profile"), profile.description);
    if (!profile.isValid())
        object.insert(QStringLiteral("profileProblem"), profile.problem);
}

QJsonObject toJson(const QString &fileName, const Facts &facts)
{
    const PictureInfo &picture = facts.picture;
    QJsonObject object {
        {QStringLiteral("file"), fileName},
        {QStringLiteral("kind"), QString::fromLatin1(picture.kind)},
        {QStringLiteral("pages"), picture.pages},
        {QStringLiteral("width"), picture.size.width()},
        {QStringLiteral("height"), picture.size.height()},
        {QStringLiteral("format"), formatName(picture.format)},
        {QStringLiteral("depth"), formatDepth(picture.format)},
        {QStringLiteral("fileBytes"), facts.fileBytes},
        {QStringLiteral("memoryBytes"), facts.pixelBytes},
        {QStringLiteral("storage"), QString::fromLatin1(storageName(facts.storage))},
        {QStringLiteral("bytesToConvert"), bytesToConvert(picture, facts.pixelBytes)},
        {QStringLiteral("bytesToRotate"), bytesToRotate(facts.pixelBytes)},
    };
    insertColors(object, picture);
    if (!picture.dotsPerMeter.isEmpty()) {
        object.insert(QStringLiteral("dotsPerMeterX"), picture.dotsPerMeter.width());
        object.insert(QStringLiteral("dotsPerMeterY"), picture.dotsPerMeter.height());
    }
    return object;
}

QString resolutionText(const QSize &dotsPerMeter)
{
    if (dotsPerMeter.isEmpty())
        return QStringLiteral("not stated");
    return QStringLiteral("%1 x %2 dpi (%3 x %4 pixels per metre)")
        .arg(dotsPerInch(dotsPerMeter.width()))
        .arg(dotsPerInch(dotsPerMeter.height()))
        .arg(dotsPerMeter.width())
        .arg(dotsPerMeter.height());
}

QString toText(const QString &fileName, const Facts &facts)
{
    const PictureInfo &picture = facts.picture;
    const QLocale c = QLocale::c();
    const auto about = [&](qint64 count) { return c.formattedDataSize(count, 1); };
    const auto exact = [&](qint64 count) {
        return QStringLiteral("%1 (%2 bytes)").arg(about(count)).arg(count);
    };
    const auto line = [](const char *label, const QString &value) {
        return QLatin1String("  ") + QString::fromLatin1(label).leftJustified(12) + value +
            QLatin1Char('\n');
    };
    QString text = fileName + QLatin1Char('\n') +
        line("kind",
             QString::fromLatin1(picture.kind) + QLatin1String(", ") + exact(facts.fileBytes));
    if (picture.pages > 1)
        text += line("pages", QStringLiteral("%1, the first of which is").arg(picture.pages));
    return text +
        line("size",
             QStringLiteral("%1 x %2 pixels")
                 .arg(picture.size.width())
                 .arg(picture.size.height())) +
        line("colours", colorsText(picture)) + line("format", formatName(picture.format)) +
        line("depth", QStringLiteral("%1 bits per pixel").arg(formatDepth(picture.format))) +
        line("resolution", resolutionText(picture.dotsPerMeter)) +
        line("memory", exact(facts.pixelBytes)) +
        line("storage", QLatin1String(storageName(facts.storage))) +
        line("needs",
             QStringLiteral("up to %1 to convert, %2 to rotate")
                 .arg(about(bytesToConvert(picture, facts.pixelBytes)),
                      about(bytesToRotate(facts.pixelBytes))));
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
